#pragma once

#include "FontReport.h"

/// The findings of the modern reading, one a line.
class ModernCheck : public FontReport {
  public:
    ResultShape shape() const override;
    std::unique_ptr<Result> result(const ScanSession::Record& font) override;
    std::string summary(const ScanSummary& summary) const override;
};
