#pragma once

#include <memory>

#include "Options.h"
#include "Output.h"
#include "Result.h"

/// Writes a command's results to standard output in one format.
class ResultWriter {
  public:
    virtual ~ResultWriter() = default;

    /// Before the first result.
    virtual void begin() {}
    virtual void write(const Result& result) = 0;
    /// After the last one.
    virtual void end() {}
    /// An object that only JSON lines know, the summary of a scan for one.
    virtual void writeJsonOnly(const nlohmann::ordered_json&) {}
};

/// `output` is not owned and must outlive the writer.
std::unique_ptr<ResultWriter> makeResultWriter(Format format, const ResultShape& shape,
                                               Output& output);
