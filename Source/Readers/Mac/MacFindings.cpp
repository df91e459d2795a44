#include "MacFindings.h"

#include <utility>

#include "FindingTable.h"

int unreadableFinding(std::int16_t status) {
    return status == CantDecompress ? finding::kResourceCompressed : finding::kResourceOutside;
}

void addFinding(OxFont& record, int code, const std::string& detail, FontDiagnosticPlace where) {
    const FindingRow* row = findingRow(code);
    record.addDiagnostic(row == nullptr ? eError : row->severity, code, detail, std::move(where));
}

FontDiagnosticPlace placeOf(FontResourceType type, std::int16_t id, const std::string& field) {
    FontDiagnosticPlace place;
    place.resource = {static_cast<std::uint32_t>(type), id};
    place.field = field;
    return place;
}
