#pragma once

#include <memory>
#include <string>

#include "ScanSession.h"

/// How a command shows the records of one reading: the columns, what it prints of a record, and
/// what it says at the end.
class FontReport {
  public:
    virtual ~FontReport() = default;

    virtual ResultShape shape() const = 0;
    /// Called once a record, in order, as a ScanSession::ResultMaker is; null: nothing is printed.
    virtual std::unique_ptr<Result> result(const ScanSession::Record& font) = 0;
    /// The last lines for people, parted by line ends; called after the last record.
    virtual std::string summary(const ScanSummary& summary) const { return summary.text(); }
};
