#pragma once

#include <cstdint>

#include "Export.h"
#include "OxParserTrueTypeImp.h"

/// Reads TrueType collections (".TTC"): one record for each member, in the order of the offset
/// array, each with its "FontOffset".
///
/// The file is read and digested once, however many members it has. A collection whose members
/// ask for far more work than its size explains is cut short with a diagnostic.
class OXPARSER_EXPORT OxParserTrueTypeCollectionImp : public OxParserTrueTypeImp {
  public:
    explicit OxParserTrueTypeCollectionImp(int PlatformId);
    ~OxParserTrueTypeCollectionImp() override;

    boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file) override;
    bool inspectFont(boost::filesystem::path file) override;
    bool readsWhole(const boost::filesystem::path& file) const override;

    using OxParserTrueTypeImp::validate;
    boost::ptr_vector<OxFont>* validate(const boost::filesystem::path& file) override;
    /// One member, whose offset table lies `offset` bytes from the file's start.
    boost::ptr_vector<OxFont>* validate(const boost::filesystem::path& file, std::int32_t offset);

  private:
    class Source;

    void validateMember(Source& source, std::int32_t offset, OxFont& font);
};
