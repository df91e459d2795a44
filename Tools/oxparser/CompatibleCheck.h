#pragma once

#include "FontReport.h"

/// The defects of the compatible reading, one a line.
class CompatibleCheck : public FontReport {
  public:
    ResultShape shape() const override;
    std::unique_ptr<Result> result(const ScanSession::Record& font) override;
};
