#include "ResultWriter.h"

#include "CsvFormat.h"
#include "FoldingFormat.h"
#include "JsonLinesFormat.h"
#include "TableFormat.h"

std::unique_ptr<ResultWriter> makeResultWriter(Format format, const ResultShape& shape,
                                               Output& output) {
    switch (format) {
        case Format::eJsonLines:
            return std::make_unique<JsonLinesFormat>(output);
        case Format::eCsv:
            return std::make_unique<CsvFormat>(shape.csv, output);
        case Format::eTable:
            break;
    }
    auto table = std::make_unique<TableFormat>(shape.table, output);
    if (shape.folds) {
        return std::make_unique<FoldingFormat>(std::move(table));
    }
    return table;
}
