#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <string>
#include <string_view>

#include "ByteView.h"
#include "OxFont.h"
#include "ReadingDetails.h"
#include "WorkLimit.h"

/// The records of one file, first face first.
using FontFaces = boost::ptr_vector<OxFont>;

class FolderPartners;

/// What a reader knows beside the bytes.
struct FaceContext {
    const boost::filesystem::path& file;  // as the walk named it
    ReadingDetails details;
    std::string container;    // the property of that name
    std::string fingerprint;  // of the file, or of the resource that holds the face
    WorkLimit& work;
    FolderPartners* partners = nullptr;  // kept from file to file; null: the folder is listed anew
};

/// A record in the making: what every reader does with one.
class Face {
  public:
    /// A new record at the end of `faces`, with what holds of all of a file's faces: path
    /// attributes, fingerprint, container. Both must outlive the face.
    Face(FontFaces& faces, FaceContext& context);

    OxFont& record() { return record_; }
    FaceContext& context() { return context_; }

    void set(std::string_view name, OxPropertyValue value) {
        record_.setProperty(name, std::move(value));
    }
    /// UTF-8. White space and zeros at the end go; an empty text is not set.
    void setText(std::string_view name, std::string text);
    /// Rounded to three digits behind the point; what is too large for that is not set.
    void setDecimal(std::string_view name, double number);
    /// The text of a property; empty without one.
    std::string text(std::string_view name) const;

    /// A finding of the own table, from 20000 on, with its severity there. `detail`: the value
    /// found and the one expected.
    void find(int code, const std::string& detail, FontDiagnosticPlace where = {});
    /// One that the catalogue of messages has a row for.
    void find(FontDiagnosticType severity, int code, const std::string& detail,
              FontDiagnosticPlace where = {});
    /// Spends work; when there is none left, says so once on this face and answers false.
    bool spend(std::uint64_t work);

  private:
    // Damage can repeat itself without end; what is beyond these is told once.
    static constexpr std::size_t kMostFindings = 200;

    OxFont& record_;
    FaceContext& context_;
    bool toldExhausted_ = false;
};

/// Sets the attributes that say the same as properties, as text. To be called once, when a face is
/// complete.
void completeAttributes(OxFont& record);
