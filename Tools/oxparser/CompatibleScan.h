#pragma once

#include "FontReport.h"

/// The records of the compatible reading, one a line.
class CompatibleScan : public FontReport {
  public:
    ResultShape shape() const override;
    std::unique_ptr<Result> result(const ScanSession::Record& font) override;
};
