#include "ReaderChecks.h"

#include <string>

#include "Check.h"
#include "ErrorCatalogue.h"
#include "FindingTable.h"
#include "RecordJson.h"
#include "Utf8.h"

namespace {

void checkTexts(const OxPropertyValue& value, const std::string& name) {
    if (const std::string* text = value.text()) {
        check(isUtf8(*text), "a property in UTF-8", name);
    }
    if (const OxPropertyValue::List* list = value.list()) {
        for (const OxPropertyValue& element : *list) {
            checkTexts(element, name);
        }
    }
    if (const OxProperties* object = value.object()) {
        for (const auto& [key, element] : *object) {
            check(isUtf8(key), "a name in UTF-8", name);
            checkTexts(element, key);
        }
    }
}

void checkFace(const OxFont& face) {
    for (const auto& [name, value] : face.properties()) {
        checkTexts(value, name);
    }
    for (const FontDiagnostic& found : face.diagnostics()) {
        const std::string what = std::to_string(found.code) + " " + found.text;
        ErrorTableEntry row;
        check(findingRow(found.code) != nullptr || GetErrorMessage(found.code, &row) != 0 ||
                  (found.code == 0 && !found.text.empty()),
              "a known code", what);
        check(isUtf8(found.text), "a detail in UTF-8", what);
        check(!inputIsSound() || found.type == eNote, "no finding on a sound font", what);
    }
    checkJson(face);
}

}  // namespace

bool& inputIsSound() {
    static bool isSound = false;
    return isSound;
}

void checkReader(const std::function<void(FontList& faces)>& read) {
    FontList faces;
    FontList again;
    read(faces);
    read(again);
    checkEqual(faces, again);
    for (const OxFont& face : faces) {
        checkFace(face);
    }
}
