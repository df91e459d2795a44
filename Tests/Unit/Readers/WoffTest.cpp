#include <zlib.h>

#include "ByteWriter.h"
#include "FourCharCode.h"
#include "UnitTest.h"
#include "WoffReader.h"

namespace {

struct Table {
    const char (&tag)[5];
    std::string packed;
    std::uint32_t length;
};

std::string zlibbed(const std::string& text) {
    std::string packed(compressBound(text.size()), '\0');
    uLongf size = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &size,
             reinterpret_cast<const Bytef*>(text.data()), text.size());
    packed.resize(size);
    return packed;
}

const std::string kText(100, 'x');
const std::string kPacked = zlibbed(kText);

Bytes woff1(const std::vector<Table>& tables, const std::string& metadata = {}) {
    ByteWriter directory, body;
    std::uint32_t total = 12;
    const auto start = static_cast<std::uint32_t>(44 + 20 * tables.size());
    const auto at = [&] { return start + static_cast<std::uint32_t>(body.size()); };
    for (const Table& table : tables) {
        directory.u32be(fourCharCode(table.tag)).u32be(at());
        directory.u32be(static_cast<std::uint32_t>(table.packed.size())).u32be(table.length);
        directory.u32be(0);
        body.text(table.packed).padTo(4);
        total += 16 + (table.length + 3) / 4 * 4;
    }
    const std::uint32_t metaOffset = metadata.empty() ? 0 : at();
    body.text(metadata);
    ByteWriter out;
    out.text("wOFF").u32be(0x00010000).u32be(at());
    out.u16be(static_cast<std::uint16_t>(tables.size())).u16be(0).u32be(total).u32be(0x00010000);
    out.u32be(metaOffset).u32be(static_cast<std::uint32_t>(metadata.size()));
    out.u32be(static_cast<std::uint32_t>(kText.size())).zeros(8);
    return out.bytes(directory.view()).bytes(body.view()).take();
}

// A Brotli stream (RFC 7932) that holds the text as it is.
std::string brotliStored(const std::string& text) {
    const auto bits = static_cast<std::uint32_t>(text.size() - 1) << 4 | 1U << 20;
    std::string out;
    for (unsigned shift = 0; shift < 24; shift += 8) {
        out += static_cast<char>(bits >> shift);
    }
    return out + text + '\x03';
}

Bytes woff2(const std::string& directory, const std::string& text, std::uint16_t tables,
            const char (&flavor)[5] = "OTTO") {
    const std::string stream = brotliStored(text);
    ByteWriter body;
    body.text(directory).text(stream).padTo(4);
    ByteWriter out;
    out.text("wOF2").u32be(fourCharCode(flavor));
    out.u32be(static_cast<std::uint32_t>(48 + body.size())).u16be(tables).u16be(0).u32be(200);
    out.u32be(static_cast<std::uint32_t>(stream.size())).u32be(0x00010000).zeros(20);
    return out.bytes(body.view()).take();
}

Bytes patched(Bytes bytes, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    }
    return bytes;
}

Bytes cut(Bytes bytes, std::size_t size) {
    bytes.resize(size);
    return bytes;
}

// The container's own findings: "20205 name; 20201".
std::string findings(const Bytes& bytes) {
    const fs::path file = "font.woff";
    WorkLimit work(bytes.size());
    FaceContext context{file, {}, "", "", work};
    FontFaces faces;
    const ByteView view(bytes.data(), bytes.size());
    (bytes.at(3) == '2' ? readWoff2 : readWoff)(view, context, faces);
    EXPECT_FALSE(faces.empty());
    std::string text;
    for (const FontDiagnostic& found : faces.front().diagnostics()) {
        if (found.code / 100 == 202) {
            text += (text.empty() ? "" : "; ") + std::to_string(found.code);
            text += found.where.table.empty() ? "" : " " + found.where.table;
        }
    }
    return text;
}

TEST(Woff, SaysWhatIsWrongWithTheContainer) {
    const std::vector<Table> kTables = {{"name", kPacked, 100}, {"post", kText, 100}};
    const Bytes good = woff1(kTables);
    const std::size_t end = good.size();
    Bytes longer = patched(good, 8, static_cast<std::uint32_t>(end + 8));
    longer.resize(end + 8);
    const struct {
        const char* what;
        Bytes bytes;
        const char* findings;
    } kFiles[] = {
        {"sound", good, ""},
        {"header cut", cut(good, 40), "20200"},
        {"directory cut", cut(good, 50), "20200"},
        {"no tables", woff1({}), "20200"},
        {"length", patched(good, 8, 7), "20201"},
        {"size", patched(good, 16, 7), "20202"},
        {"reserved", patched(good, 12, 0x00020001), "20209"},
        {"order", woff1({{"post", kText, 100}, {"name", kPacked, 100}}), "20203 name"},
        {"twice", woff1({{"name", kText, 100}, {"name", kText, 100}}), "20203 name"},
        {"overlap", patched(good, 68, 84), "20204 post; 20204"},
        {"more than its directory says", longer, "20204"},
        {"last table cut", cut(good, end - 8), "20201; 20205 post"},
        {"more than stated", woff1({{"name", kPacked, 50}}), "20205 name"},
        {"less than stated", woff1({{"name", kPacked, 101}}), "20205 name"},
        {"no zlib", woff1({{"name", kPacked.substr(4), 100}, {"post", kText, 100}}), "20205 name"},
        {"packed larger", woff1({{"name", kPacked, 1}}), "20205 name"},
        {"claims more than deflate makes", woff1({{"name", kPacked, 0x7FFFFFFC}}), "20205 name"},
        {"bomb", woff1({{"name", zlibbed(std::string(70 << 20, 'x')), 70 << 20}}), "20207"},
        {"metadata", woff1(kTables, kPacked), ""},
        {"metadata broken", woff1(kTables, "nonsense"), "20208"},
        {"metadata outside", patched(woff1(kTables, kPacked), 28, 999), "20204"},
    };
    for (const auto& row : kFiles) {
        EXPECT_EQ(findings(row.bytes), row.findings) << row.what;
    }
}

TEST(Woff, TellsTablesOfWoff2ThatDoNotComeOut) {
    const std::string two = "\x05\x64\x07\x64";  // 'name' and 'post', 100 bytes each
    const Bytes good = woff2(two, kText + kText, 2);
    Bytes longer = good;
    longer.resize(good.size() + 8);
    const std::string huge("\x05\xA0\x80\x80\x00", 5);  // 64 MiB
    const struct {
        const char* what;
        Bytes bytes;
        const char* findings;
    } kFiles[] = {
        {"sound", good, ""},
        {"header cut", cut(good, 47), "20200"},
        {"directory cut", cut(good, 50), "20200"},
        {"length", patched(good, 8, 7), "20201"},
        {"more than stated", longer, "20201"},
        {"stream cut", cut(good, good.size() - 8), "20201; 20206"},
        {"stream too short", woff2(two, kText, 2), "20206"},
        {"no stream", patched(good, 52, 0xFFFFFFFF), "20206"},
        {"metadata outside", patched(good, 28, 999), "20204"},
        {"bomb", woff2(huge, kText, 1), "20207"},
        {"'glyf' alone", woff2("\xCA\x64", kText, 1), "20206"},
        {"'glyf' and 'loca' apart", woff2("\xCA\x64\x05\x64\xCB\x64", kText + kText + kText, 3),
         ""},
        {"collection",
         woff2(two + std::string("\0\x01\0\0\x02\x02OTTO\0\x01\x02OTTO\0\x01", 19), kText + kText,
               2, "ttcf"),
         ""},
        {"collection of what is not there",
         woff2(two + std::string("\0\x01\0\0\x01\x01OTTO\x09", 11), kText + kText, 2, "ttcf"),
         "20206"},
    };
    for (const auto& row : kFiles) {
        EXPECT_EQ(findings(row.bytes), row.findings) << row.what;
    }
}

// Whatever is cut off or changed, there is a record and nothing is read outside the file.
TEST(Woff, SurvivesEveryCutAndEveryChangedByte) {
    const std::string two = "\x05\x64\x07\x64";
    for (const Bytes& good : {woff1({{"name", kPacked, 100}, {"post", kText, 100}}, kPacked),
                              woff2(two, kText + kText, 2)}) {
        for (std::size_t i = 4; i < good.size(); ++i) {
            findings(cut(good, i));
            Bytes changed = good;
            changed[i] ^= 0xFF;
            findings(changed);
        }
    }
}

}  // namespace
