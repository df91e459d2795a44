#include "TableFormat.h"

#include <algorithm>

namespace {

constexpr int kGap = 2;
constexpr char kPlain[] = "\033[0m";
constexpr char kBold[] = "\033[1m";

const char* colourOf(Mark mark) {
    switch (mark) {
        case Mark::eError:
            return "\033[31m";
        case Mark::eWarning:
            return "\033[33m";
        case Mark::eNote:
            return "\033[36m";
        case Mark::ePlain:
            break;
    }
    return "";
}

std::string blanks(int count) {
    return std::string(static_cast<std::size_t>(count), ' ');
}

}  // namespace

TableFormat::TableFormat(const std::vector<TableColumn>& columns, Output& output)
    : columns_(columns), output_(output) {
    const int width = terminalColumns(output.descriptor());
    cutting_ = width > 0;
    colours_ = mayColour(output.descriptor());
    layOut(width);
}

void TableFormat::layOut(int terminalWidth) {
    int left = terminalWidth;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const TableColumn& column = columns_[i];
        // What is shown on narrow terminals only stands in for another column.
        const bool isShown = cutting_ ? terminalWidth >= column.from && terminalWidth < column.below
                                      : column.below == TableColumn::kAlways;
        if (isShown) {
            slots_.push_back({i, cutting_ ? column.least : column.most});
            left -= column.least + kGap;
        }
    }
    left += kGap;
    // What is left over goes out by shares, a cell at a time, until every column has its most.
    for (bool given = cutting_; given && left > 0;) {
        given = false;
        for (Slot& slot : slots_) {
            const TableColumn& column = columns_[slot.column];
            const int more = std::min({column.share, column.most - slot.width, left});
            if (more > 0) {
                slot.width += more;
                left -= more;
                given = true;
            }
        }
    }
    // A terminal narrower than all columns together loses them from the right.
    while (cutting_ && left < 0 && !slots_.empty()) {
        const int taken = std::min(slots_.back().width - 1, -left);
        slots_.back().width -= taken;
        left += taken;
        if (left < 0) {
            left += slots_.back().width + kGap;
            slots_.pop_back();
        }
    }
}

void TableFormat::write(const Result& result) {
    std::string lines;
    for (const Row& row : result.tableRows()) {
        if (!headingWritten_) {
            lines += heading();
            headingWritten_ = true;
        }
        lines += line(row);
    }
    output_.write(lines);
}

std::string TableFormat::heading() const {
    Row row;
    for (const TableColumn& column : columns_) {
        row.push_back({column.heading});
    }
    const std::string text = line(row);
    return colours_ ? kBold + text.substr(0, text.size() - 1) + kPlain + "\n" : text;
}

std::string TableFormat::line(const Row& row) const {
    std::string text;
    int owed = 0;  // blanks before the next cell that holds something
    for (const Slot& slot : slots_) {
        const TableColumn& column = columns_[slot.column];
        const Cell& cell = row.at(slot.column);
        std::string value = safeText(cell.text);
        if (cutting_) {
            if (!cell.brief.empty() && displayWidth(value) > slot.width) {
                value = safeText(cell.brief);
            }
            value = cutToWidth(value, slot.width, column.cut);
        }
        const int pad = std::max(0, slot.width - displayWidth(value));
        if (value.empty()) {
            owed += pad + kGap;
            continue;
        }
        const bool right = column.align == Align::eRight;
        text += blanks(owed + (right ? pad : 0));
        const bool coloured = colours_ && cell.mark != Mark::ePlain;
        text += coloured ? colourOf(cell.mark) + value + kPlain : value;
        owed = (right ? 0 : pad) + kGap;
    }
    return text + "\n";
}
