#include "ReaderTest.h"

namespace {

std::string shownValue(const OxPropertyValue& value);

std::string shownEntries(const OxProperties& properties) {
    std::string out;
    for (const auto& [name, value] : properties) {
        out.append(out.empty() ? "" : " ").append(name).append("=").append(shownValue(value));
    }
    return out;
}

std::string shownValue(const OxPropertyValue& value) {
    if (value.text() != nullptr) {
        return *value.text();
    }
    if (value.flag() != nullptr) {
        return *value.flag() ? "true" : "false";
    }
    if (value.number() != nullptr) {
        char text[32];
        std::snprintf(text, sizeof text, "%.15g", *value.number());
        return text;
    }
    if (value.object() != nullptr) {
        return "{" + shownEntries(*value.object()) + "}";
    }
    std::string out;
    for (const OxPropertyValue& element : *value.list()) {
        out.append(out.empty() ? "" : ",").append(shownValue(element));
    }
    return "[" + out + "]";
}

}  // namespace

OxFont readOne(FaceReader reader, std::string_view bytes, const std::string& container,
               const fs::path& file) {
    const Bytes exact = bytesOf(bytes);  // so that a sanitizer sees reads past the end
    WorkLimit work(exact.size());
    FaceContext context{file, {.coverage = true}, container, "", work};
    FontFaces faces;
    reader(ByteView(exact), context, faces);
    EXPECT_THAT(faces, SizeIs(1));
    return faces.front();
}

std::string shown(const OxFont& font, std::string_view property) {
    const OxPropertyValue* value = font.properties().find(property);
    return value == nullptr ? std::string() : shownValue(*value);
}

std::string shown(const OxFont& font) {
    return shownEntries(font.properties());
}
