#pragma once

#include <vector>

#include "ResultWriter.h"

/// Lines of aligned columns for people. The widths are fixed from the start, so that lines appear
/// as results arrive. On a terminal every line fits its width and defects are coloured; elsewhere
/// nothing is cut, and a value that is wider than its column moves what follows it.
class TableFormat : public ResultWriter {
  public:
    TableFormat(const std::vector<TableColumn>& columns, Output& output);

    void write(const Result& result) override;

  private:
    struct Slot {
        std::size_t column;
        int width;
    };

    void layOut(int terminalWidth);
    std::string line(const Row& row) const;
    std::string heading() const;

    std::vector<TableColumn> columns_;
    std::vector<Slot> slots_;  // the columns that are shown
    Output& output_;
    bool cutting_ = false;
    bool colours_ = false;
    bool headingWritten_ = false;
};
