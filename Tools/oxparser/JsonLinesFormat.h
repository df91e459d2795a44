#pragma once

#include "ResultWriter.h"

/// One JSON object a line, UTF-8.
class JsonLinesFormat : public ResultWriter {
  public:
    explicit JsonLinesFormat(Output& output) : output_(output) {}

    void write(const Result& result) override;
    void writeJsonOnly(const nlohmann::ordered_json& object) override;

  private:
    void writeLine(std::string json);

    Output& output_;
};
