#pragma once

#include <limits>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "Terminal.h"

enum class Align { eLeft, eRight };

/// A column of a table on a terminal and of its plain form in a pipe or file.
struct TableColumn {
    const char* heading;
    int least;  ///< cells on the narrowest terminal
    int most;   ///< cells that it may grow to; in the plain form the width that is padded to
    int share;  ///< its part of the cells that are left over
    int from;   ///< shown only on terminals with at least so many columns
    Align align = Align::eLeft;
    Cut cut = Cut::eEnd;
    static constexpr int kAlways = std::numeric_limits<int>::max();
    int below = kAlways;  ///< shown only on terminals with fewer columns
};

enum class Mark { ePlain, eError, eWarning, eNote };

struct Cell {
    std::string text;  ///< bytes as stored; the formats make them safe
    Mark mark = Mark::ePlain;
    std::string brief = {};  ///< in the place of a text that would have to be cut
};

using Row = std::vector<Cell>;

/// The shape of a command's results in the formats that have columns. Every row has a cell for
/// every column.
struct ResultShape {
    std::vector<TableColumn> table;
    std::vector<const char*> csv;
    bool folds = false;  ///< whether the table joins results that can be joined
};

/// One result of a command, as each format wants it.
class Result {
  public:
    virtual ~Result() = default;
    virtual nlohmann::ordered_json json() const = 0;
    /// The same as text. Results of many values make it at once: a tree of them costs more than
    /// reading the font did.
    virtual std::string jsonText() const;
    virtual std::vector<Row> tableRows() const = 0;
    virtual std::vector<Row> csvRows() const = 0;

    /// A copy that the results behind this one may be joined to; null when none ever can.
    virtual std::unique_ptr<Result> startFold() const { return nullptr; }
    /// Joins `next` to this one: its rows then stand for both. False when `next` has its own.
    virtual bool join(const Result& /*next*/) { return false; }
};
