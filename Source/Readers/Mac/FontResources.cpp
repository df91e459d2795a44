#include "FontResources.h"

#include <algorithm>
#include <array>

#include "TextDecoding.h"

namespace {

constexpr FontResourceType kTypes[] = {FontResourceType::eFamily, FontResourceType::eOutline,
                                       FontResourceType::eStrike, FontResourceType::eOldStrike,
                                       FontResourceType::eProgram};

constexpr std::int16_t kFirstScripted = 16384;
constexpr int kIdsOfScript = 512;

unsigned scriptOf(std::int16_t id) {
    return id < kFirstScripted ? 0 : 1u + static_cast<unsigned>(id - kFirstScripted) / kIdsOfScript;
}

constexpr std::uint32_t code(FontResourceType type) {
    return static_cast<std::uint32_t>(type);
}

}  // namespace

std::string typeText(FontResourceType type) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += static_cast<char>(code(type) >> shift & 0xFF);
    }
    return text;
}

std::string resourceText(std::string_view text, std::int16_t id) {
    const ByteView bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    return fromMacScript(bytes, scriptOf(id), 0);
}

std::string FontResource::label() const {
    return typeText(type) + " " + std::to_string(id);
}

std::int16_t FontResources::open(ByteView fork) {
    size_ = fork.size();
    return file_.open(fork);
}

bool FontResources::holdsAny() const {
    return std::any_of(std::begin(kTypes), std::end(kTypes),
                       [this](FontResourceType type) { return holds(type); });
}

std::vector<std::int16_t> FontResources::ids(FontResourceType type) {
    std::vector<std::int16_t> result;
    for (const ResourceFile::Reference& reference : file_.references(code(type))) {
        if (file_.find(code(type), reference.id) == &reference) {
            result.push_back(reference.id);
        }
    }
    return result;
}

std::vector<std::int16_t> FontResources::repeatedIds(FontResourceType type) {
    std::vector<std::int16_t> result;
    for (const ResourceFile::Reference& reference : file_.references(code(type))) {
        if (file_.find(code(type), reference.id) != &reference) {
            result.push_back(reference.id);
        }
    }
    std::sort(result.begin(), result.end());
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

std::uint32_t FontResources::lostReferences(FontResourceType type) {
    return file_.claimedReferences(code(type)) -
           static_cast<std::uint32_t>(file_.references(code(type)).size());
}

bool FontResources::has(FontResourceType type, std::int16_t id) {
    return file_.find(code(type), id) != nullptr;
}

FontResource FontResources::get(FontResourceType type, std::int16_t id) {
    FontResource result;
    result.type = type;
    result.id = id;
    if (const ResourceFile::Reference* reference = file_.find(code(type), id)) {
        const ResourceFile::Data data = file_.data(*reference);
        result.exists = true;
        result.name = resourceText(file_.name(*reference), id);
        result.status = data.status;
        result.bytes = data.bytes;
    }
    return result;
}
