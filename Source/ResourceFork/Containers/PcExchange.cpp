#include "PcExchange.h"

#include <algorithm>
#include <utility>

#include "Ascii.h"
#include "FileNames.h"
#include "MacRoman.h"

namespace {

constexpr std::size_t kRecordSize = 92;
constexpr std::size_t kNameLimit = 31;
constexpr std::size_t kFinderInfoAt = 32;
constexpr std::size_t kShortNameAt = 80;
constexpr std::size_t kSmallestCluster = 512;
constexpr std::size_t kLargestCluster = 32768;

using Exists = std::function<bool(const std::string&)>;

bool isControl(char c) {
    return (c >= 0 && c < ' ') || c == 0x7F;
}

bool isLegalInShortName(char c) {
    return !isControl(c) &&
           std::string_view("\"*+,./:;<=>?[\\]|").find(c) == std::string_view::npos;
}

std::string_view withoutBlanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// The 8.3 name as it is shown; empty when it holds what no such name can hold.
std::string shortNameOf(ByteView record) {
    const std::string_view stem = withoutBlanks(record.slice(kShortNameAt, 8).text());
    const std::string_view extension = withoutBlanks(record.slice(kShortNameAt + 8, 3).text());
    if (stem.empty() || !std::all_of(stem.begin(), stem.end(), isLegalInShortName) ||
        !std::all_of(extension.begin(), extension.end(), isLegalInShortName)) {
        return {};
    }
    std::string name(stem);
    if (!extension.empty()) {
        name.append(1, '.').append(extension);
    }
    return name;
}

std::optional<FinderDat::Record> saneRecord(ByteView bytes, const Exists& exists) {
    const std::uint32_t nameLength = bytes.u8(0);
    const std::string_view type = bytes.slice(kFinderInfoAt, 4).text();
    if (nameLength == 0 || nameLength > kNameLimit ||
        std::any_of(type.begin(), type.end(), isControl)) {
        return std::nullopt;
    }
    FinderDat::Record record;
    record.shortName = shortNameOf(bytes);
    if (record.shortName.empty() || !exists(record.shortName)) {
        return std::nullopt;
    }
    record.macName = macRomanToUtf8(bytes.slice(1, nameLength).text());
    record.finderInfo = FinderInfo::from(bytes.slice(kFinderInfoAt, FinderInfo::kSize));
    return record;
}

}  // namespace

FinderDat::FinderDat(ByteView file, const Exists& exists) {
    read(file, file.size() + kRecordSize, exists);
    for (std::size_t cluster = kSmallestCluster;
         cluster <= kLargestCluster && cluster < file.size(); cluster *= 2) {
        FinderDat other;
        other.read(file, cluster, exists);
        if (other.size() > size()) {
            *this = std::move(other);
        }
    }
    for (const auto& [shortName, record] : byShortName_) {
        byMacName_.emplace(foldedName(record.macName), &record);
    }
}

void FinderDat::read(ByteView file, std::size_t cluster, const Exists& exists) {
    std::size_t at = 0;
    while (file.holds(at, kRecordSize)) {
        if (at % cluster + kRecordSize > cluster) {
            at = (at / cluster + 1) * cluster;
            continue;
        }
        if (std::optional<Record> record = saneRecord(file.slice(at, kRecordSize), exists)) {
            ++size_;
            std::string key = ascii::toUpper(record->shortName);
            byShortName_.emplace(std::move(key), std::move(*record));
        }
        at += kRecordSize;
    }
}

const FinderDat::Record* FinderDat::find(std::string_view name) const {
    if (const auto found = byShortName_.find(ascii::toUpper(name)); found != byShortName_.end()) {
        return &found->second;
    }
    const auto found = byMacName_.find(foldedName(name));
    return found != byMacName_.end() ? found->second : nullptr;
}
