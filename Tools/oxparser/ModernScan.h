#pragma once

#include <boost/filesystem/path.hpp>
#include <map>
#include <string>

#include "FontDiagnostic.h"
#include "FontReport.h"
#include "FontState.h"

/// The records of the modern reading, one a line; in the table the strikes of a family share one.
class ModernScan : public FontReport {
  public:
    /// `unfolded`: every strike has a line.
    explicit ModernScan(bool unfolded) : unfolded_(unfolded) {}

    ResultShape shape() const override;
    std::unique_ptr<Result> result(const ScanSession::Record& font) override;
    std::string summary(const ScanSummary& summary) const override;

  private:
    std::string facesText() const;
    std::string statesText() const;
    std::string noFontsText(const ScanSummary& summary) const;
    std::string codesText() const;
    std::string adviceText() const;

    const bool unfolded_;
    int faces_ = 0;
    int files_ = 0;                       // that hold a face
    boost::filesystem::path file_;        // the last of them
    std::map<std::string, int> formats_;  // faces by format
    std::map<FontState, int> states_;
    struct Code {
        int faces = 0;  // that have it
        Mark worst = Mark::eNote;
    };
    std::map<int, Code> codes_;
};
