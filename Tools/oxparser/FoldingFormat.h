#pragma once

#include <memory>

#include "ResultWriter.h"

/// Joins results that follow each other and can be joined (Result::join) before it hands them to
/// another writer. Holds back one result at most, and only one that can be joined to.
class FoldingFormat : public ResultWriter {
  public:
    explicit FoldingFormat(std::unique_ptr<ResultWriter> inner) : inner_(std::move(inner)) {}

    void begin() override { inner_->begin(); }
    void write(const Result& result) override;
    void end() override;

  private:
    void release();

    const std::unique_ptr<ResultWriter> inner_;
    std::unique_ptr<Result> held_;
};
