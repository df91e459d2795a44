#pragma once

#include <boost/ptr_container/ptr_vector.hpp>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "OxParser.h"
#include "OxParserImp.h"

/// A parser that does what a test says. It takes files whose extension is ".tst".
class ScriptedParser : public OxParserImp {
  public:
    using Parse = std::function<boost::ptr_vector<OxFont>*(const boost::filesystem::path&)>;
    using Inspect = std::function<bool(const boost::filesystem::path&)>;

    explicit ScriptedParser(Parse parse, Inspect inspect = takesTestFiles);

    boost::ptr_vector<OxFont>* parseFontFile(boost::filesystem::path file) override;
    bool inspectFont(boost::filesystem::path file) override;

    static bool takesTestFiles(const boost::filesystem::path& file);
    /// A list of new records that carry these full names.
    static boost::ptr_vector<OxFont>* records(const std::vector<std::string>& names);
    /// Parses each file into one record, which carries the file's name.
    static boost::ptr_vector<OxFont>* oneRecord(const boost::filesystem::path& file);

  private:
    Parse parse_;
    Inspect inspect_;
};

/// A host of a coordinator: notes everything that is called back, and waits for the end.
class ScanHost {
  public:
    struct Font {
        int parsed;
        int total;
        std::string name;  // "Fullname", or else "FileName"
    };

    /// Appends its callbacks to the coordinator's lists.
    explicit ScanHost(OxParser& parser);
    ScanHost(const ScanHost&) = delete;
    ScanHost& operator=(const ScanHost&) = delete;

    /// Cancels from another thread while the walk waits in its callback for that many files found.
    void cancelAt(int files);
    /// Waits until the font completion callback has come.
    void wait();
    /// Runs the coordinator and waits.
    void run();

    std::vector<std::string> fontNames() const;

    // To be read after wait().
    std::vector<int> found;
    std::vector<Font> fonts;
    std::vector<bool> fileCompletions;
    std::vector<bool> fontCompletions;
    std::vector<std::string> walkErrors;

  private:
    OxParser& parser_;
    std::mutex mutex_;
    std::condition_variable ended_;
};
