#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/function.hpp>
#include <boost/ptr_container/ptr_vector.hpp>
#include <string>

#include "Export.h"
#include "OxFont.h"

/// The contract of a format parser.
///
/// A coordinator asks its registered parsers in order whether a file is theirs; the first that
/// says yes parses it. Both calls run on one thread, with the coordinator's mutex held, so a parser
/// needs no locks and must not call the coordinator back. Whatever a file holds, no exception
/// leaves a parser: damage becomes diagnostics on the records.
class OXPARSER_EXPORT OxParserImp {
  public:
    OxParserImp();
    OxParserImp(const OxParserImp&) = delete;
    OxParserImp& operator=(const OxParserImp&) = delete;

    /// Parses `file` into a newly allocated list of records that the caller owns; null when the
    /// file yields nothing.
    virtual boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file);
    /// True when this parser takes the file. Cheap; makes no records.
    virtual bool inspectFont(boost::filesystem::path file);
    /// True when parseFontFile reads such a file from its first byte to its last, so that it is
    /// worth reading before its turn. May look at the name alone: it is called from any thread, at
    /// any time while the parser is registered. A wrong answer costs time and changes no record.
    /// The base answers false.
    virtual bool readsWhole(const boost::filesystem::path& file) const;
    /// Gives back the memory that the last file was read into, and with it whatever a parser kept
    /// for looking at that file again. A coordinator calls it before another parser reads a file,
    /// so that one file's bytes are kept at a time. The base does nothing.
    virtual void releaseMemory();
    /// Whether the records of a file reach a coordinator's host in the order of the list. The base
    /// answers false: the last comes first, as hosts of the compatible parsers expect.
    virtual bool firstRecordFirst() const;
    /// Reserved.
    virtual bool diagnoseFont(boost::filesystem::path file);
    /// Reserved.
    virtual bool repairFont(boost::filesystem::path file);
    virtual ~OxParserImp();

    /// Called with a file and, in words, what kept it from being read whole.
    using FileErrorReport =
        boost::function<void(const boost::filesystem::path&, const std::string& reason)>;
    /// Sets who is told of such errors; a coordinator does so when a parser is registered with it.
    void setFileErrorReport(const FileErrorReport& report) { fileErrorReport_ = report; }

  protected:
    /// For what no record can say: something keeps `file` from being read whole. Goes to the log,
    /// too. To be called from inspectFont and parseFontFile only.
    void reportFileError(const boost::filesystem::path& file, const std::string& reason) const;

    /// Records that an implementation collects while it works; destroyed with it.
    boost::ptr_vector<OxFont> fonts_;

  private:
    FileErrorReport fileErrorReport_;
};
