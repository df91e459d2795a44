#pragma once

#include "ResultWriter.h"

/// Comma-separated values after RFC 4180, UTF-8, with a header line. Control characters other than
/// tabs and line ends become U+FFFD, since readers of such files trip over them.
class CsvFormat : public ResultWriter {
  public:
    CsvFormat(const std::vector<const char*>& columns, Output& output)
        : columns_(columns), output_(output) {}

    void begin() override;
    void write(const Result& result) override;

  private:
    std::vector<const char*> columns_;
    Output& output_;
};
