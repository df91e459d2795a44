#include "NameTable.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "MacRoman.h"

namespace {

// The last record of each id that counts.
using AcceptedNames = std::array<std::optional<ttf::tagNameRecord>, 8>;

constexpr std::uint16_t kMacintosh = 1;
constexpr std::uint16_t kWindows = 3;

// The bytes of a name record that its decoding reads.
std::uint32_t nameBytesRead(const ttf::tagNameRecord& name) {
    const bool decoded =
        name.platformId < kWindows || (name.platformId == kWindows && name.encodingId <= 1);
    if (!decoded) {
        return 0;
    }
    // 16-bit units: an odd last byte is no unit.
    return name.platformId == kMacintosh ? name.length : name.length & ~1u;
}

// Reports the first thing that keeps the records of a 'name' table from being read; false then.
bool checkNameHeader(unsigned count, unsigned storageOffset, std::uint32_t tableLength,
                     OxFont& font) {
    if (count == 0) {
        font.addDiagnostic(eError, 11301, "Invalid Name table header count");
        return false;
    }
    if (storageOffset == 0) {
        font.addDiagnostic(eError, 11302, "Invalid Name table header offset");
        return false;
    }
    // A length below that of the header wraps and bounds nothing.
    if (storageOffset > tableLength - 6) {
        font.addDiagnostic(eError, 11302, "Name table header offset goes off the end of the table");
        return false;
    }
    return true;
}

// `bytes` as many as nameBytesRead says.
std::string nameText(const ttf::tagNameRecord& name, ByteView bytes) {
    if (name.platformId == kMacintosh) {
        return macRomanToUtf8(bytes.text());
    }
    std::string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 1; i < bytes.size(); i += 2) {
        text += static_cast<char>(bytes.u8(i));
    }
    return text;
}

// The records that the platform id chooses: 0 both, 1 the former, 2 the latter, others none.
bool acceptsName(int platformId, const ttf::tagNameRecord& name) {
    const bool macEnglish = name.platformId == kMacintosh && name.languageId == 0;
    const bool windowsEnglish = name.platformId == kWindows && name.languageId == 0x0409;
    return (macEnglish && (platformId == 0 || platformId == 1)) ||
           (windowsEnglish && (platformId == 0 || platformId == 2));
}

bool collectNames(SfntReading& reading, std::uint64_t table, unsigned count, std::uint64_t storage,
                  AcceptedNames& accepted) {
    bool any = false;
    for (unsigned i = 0; i < count; ++i) {
        reading.work.addName();
        const ByteView r =
            reading.image.view().slice(table + 6 + std::uint64_t{i} * 12, 12, 1, "name record");
        const ttf::tagNameRecord name = {r.u16be(0), r.u16be(2), r.u16be(4),
                                         r.u16be(6), r.u16be(8), r.u16be(10)};
        if (!acceptsName(reading.platformId, name)) {
            continue;
        }
        const std::uint32_t read = nameBytesRead(name);
        if (read != 0) {
            reading.image.view().slice(storage + name.offset, read, 1, "name text");
        }
        if (name.nameId < accepted.size()) {
            accepted[name.nameId] = name;
        }
        any = true;
    }
    return any;
}

void setNames(SfntReading& reading, const AcceptedNames& names, std::uint64_t storage,
              OxFont& font) {
    constexpr const char* kKeys[] = {eCopyright, eFamilyname,  eSubFamilyname,  eUniqueId,
                                     eFullname,  eFontVersion, ePostscriptname, eTrademark};
    for (std::size_t id = 0; id < names.size(); ++id) {
        if (const auto& name = names[id]) {
            const std::uint32_t read = nameBytesRead(*name);
            reading.work.addNameText(read);
            const ByteView bytes = reading.image.view().clamped(storage + name->offset, read);
            font.setAttribute(kKeys[id], nameText(*name, bytes));
        }
    }
}

}  // namespace

bool readNames(SfntReading& reading, const ttf::tagTableDirectory& record, OxFont& font) {
    const std::uint64_t table = record.offset;
    const std::uint16_t format = reading.image.take16(table, "name table format");
    const std::uint16_t count = reading.image.take16(table + 2, "name record count");
    const std::uint16_t storageOffset = reading.image.take16(table + 4, "name storage offset");
    if (format != 0) {
        font.addDiagnostic(eWarning, 11300, "Name table wrong format");
    }
    if (!checkNameHeader(count, storageOffset, record.length, font)) {
        return false;
    }
    // Only the last accepted record of each id is decoded: a damaged table can name 65,535 records
    // of 64 KB each. A record that reaches outside ends the table, but those before it count.
    const std::uint64_t storage = table + storageOffset;
    AcceptedNames accepted;
    bool any = false;
    try {
        any = collectNames(reading, table, count, storage, accepted);
    } catch (const ReadPastEnd&) {
        setNames(reading, accepted, storage, font);
        throw;
    }
    setNames(reading, accepted, storage, font);
    if (!any) {
        font.addDiagnostic(eError, 11302, "Name table has invalid platform or language");
    }
    return any;
}

std::string nameTableString(const SfntImage& image, const ttf::tagNameRecord& record,
                            const unsigned char* storage) {
    const std::uint32_t read = nameBytesRead(record);
    if (read == 0) {
        return {};
    }
    const auto offset = image.placeOf(storage);
    const ByteView bytes = offset ? image.view().from(*offset)
                                  : ByteView(storage, std::size_t{record.offset} + record.length);
    return nameText(record, bytes.slice(record.offset, read, 1, "name text"));
}
