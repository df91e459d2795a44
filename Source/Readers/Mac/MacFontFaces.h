#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "FondRecord.h"
#include "FontResources.h"
#include "MacFontReader.h"
#include "PrinterFontSearch.h"

struct PostProgram;

/// Makes the faces of one resource file. Families are read before any face is made, since a face
/// tells all the families that name its resource.
class MacFontFaces {
  public:
    /// All must outlive the object.
    MacFontFaces(ByteView resourceFile, const ResourceFileOrigin& origin, ForkLocator& forks,
                 FaceContext& context, FontFaces& faces);

    void read();

  private:
    // Records of a file; more are damage or malice.
    static constexpr std::size_t kMostFaces = 4096;

    struct Family {
        FontResource resource;
        FondRecord record;
    };
    using Key = std::pair<FontResourceType, std::int16_t>;
    /// A font of a family; both null for one that no family names.
    struct Member {
        const Family* family = nullptr;
        const FondEntry* entry = nullptr;
    };
    struct Finding {
        int code;
        std::string detail;
        FontDiagnosticPlace where;
    };

    void readFamilies();
    void noteNames(std::size_t family);
    void noteMapDefects();
    void makeFamilyFaces(std::size_t family);
    void makeUnnamedFaces();
    void makeFace(const FontResource& resource, const Member& member);
    void makeOutlineFaces(const FontResource& resource, const Member& member);
    void makeStrikeFace(const FontResource& resource, const Member& member);
    void nameStrike(Face& face, const FontResource& resource, const Member& member);
    void nameFamily(Face& face, const Member& member);
    void addPrinterFont(Face& face, const Member& member);
    void makePrinterFace();
    void makeProgramFaces(const PostProgram& program);

    Key keyOf(const FondEntry& entry);
    bool mayMakeFace();
    FaceContext contextFor(std::string fingerprint) const;
    /// What holds of every record of a resource: fork, resource, pairs, keys, notes.
    void setResource(OxFont& record, const FontResource& resource, const Member& member) const;
    void addSharingNote(OxFont& record, const FontResource& resource) const;
    void tellFileFindings();

    const ResourceFileOrigin& origin_;
    FaceContext& context_;
    FontFaces& faces_;
    PrinterFontSearch printerFonts_;
    FontResources resources_;
    std::int16_t status_;
    std::string container_;
    std::vector<Family> families_;
    // Families that name a resource, in their order, each once.
    std::map<Key, std::vector<std::size_t>> namedBy_;
    std::map<Key, bool> made_;
    std::vector<Finding> fileFindings_;
    bool full_ = false;
    bool exhausted_ = false;
};
