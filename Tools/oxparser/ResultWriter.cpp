#include "ResultWriter.h"

#include "CsvFormat.h"
#include "JsonLinesFormat.h"
#include "TableFormat.h"

std::unique_ptr<ResultWriter> makeResultWriter(Format format, const ResultShape& shape,
                                               Output& output) {
    switch (format) {
        case Format::JsonLines:
            return std::make_unique<JsonLinesFormat>(output);
        case Format::Csv:
            return std::make_unique<CsvFormat>(shape.csv, output);
        case Format::Table:
            break;
    }
    return std::make_unique<TableFormat>(shape.table, output);
}
