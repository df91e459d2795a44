#include "WoffHeader.h"

#include <algorithm>
#include <utility>

#include "FindingTable.h"
#include "WoffReader.h"

namespace {

constexpr int kFurther = 20006;

// The fields that both formats have at the same place.
WoffHeader readStart(ByteView file) {
    WoffHeader header;
    header.flavor = file.u32be(4, "flavor");
    header.length = file.u32be(8, "length");
    header.tables = file.u16be(12, "numTables");
    header.reserved = file.u16be(14, "reserved");
    header.totalSfntSize = file.u32be(16, "totalSfntSize");
    return header;
}

// The last five fields of both.
void readBlocks(ByteView file, std::uint64_t offset, WoffHeader& header) {
    header.metadata = {file.u32be(offset, "metaOffset"), file.u32be(offset + 4, "metaLength"),
                       file.u32be(offset + 8, "metaOrigLength")};
    header.privateData = {file.u32be(offset + 12, "privOffset"),
                          file.u32be(offset + 16, "privLength"), 0};
}

std::string shouldBe(std::uint64_t found, std::uint64_t expected) {
    return std::to_string(found) + ", should be " + std::to_string(expected);
}

// Where the file goes on behind a block that should begin at `begin`.
std::uint64_t checkBlock(ByteView file, const WoffBlock& block, std::uint64_t begin,
                         const char* field, WoffFindings& findings) {
    if (!block.isStated()) {
        return begin;
    }
    const FontDiagnosticPlace where{.field = field, .offset = block.offset};
    if (block.length == 0 || !file.holds(block.offset, block.length)) {
        findings.add(woff::kLayout,
                     std::to_string(block.length) + " bytes at " + std::to_string(block.offset) +
                         " of " + std::to_string(file.size()),
                     where);
        return file.size();
    }
    if (block.offset != woffPadded(begin)) {
        findings.add(woff::kLayout, shouldBe(block.offset, woffPadded(begin)), where);
    }
    return std::uint64_t{block.offset} + block.length;
}

}  // namespace

WoffHeader WoffHeader::read1(ByteView file) {
    WoffHeader header = readStart(file);
    readBlocks(file, 24, header);
    return header;
}

WoffHeader WoffHeader::read2(ByteView file) {
    WoffHeader header = readStart(file);
    header.totalCompressedSize = file.u32be(20, "totalCompressedSize");
    readBlocks(file, 28, header);
    return header;
}

void WoffFindings::add(int code, std::string detail, FontDiagnosticPlace where) {
    if (findings_.size() < kMost) {
        findings_.push_back({code, std::move(detail), std::move(where)});
    } else {
        further_ = true;
    }
}

void WoffFindings::giveTo(FontFaces& faces, std::size_t index) const {
    OxFont& record = faces[index];
    for (const Finding& finding : findings_) {
        const FindingRow* row = findingRow(finding.code);
        record.addDiagnostic(row == nullptr ? eError : row->severity, finding.code, finding.detail,
                             finding.where);
    }
    if (further_) {
        record.addDiagnostic(eNote, kFurther);
    }
}

void checkWoffLayout(ByteView file, const WoffHeader& header, std::uint64_t tablesEnd,
                     WoffFindings& findings) {
    if (header.length != file.size()) {
        findings.add(woff::kLength, shouldBe(header.length, file.size()), {.field = "length"});
    }
    if (header.reserved != 0) {
        findings.add(woff::kReserved, shouldBe(header.reserved, 0), {.field = "reserved"});
    }
    std::uint64_t end = checkBlock(file, header.metadata, tablesEnd, "metaOffset", findings);
    end = woffPadded(checkBlock(file, header.privateData, end, "privOffset", findings));
    if (end < file.size() && header.length == file.size()) {
        findings.add(woff::kLayout, std::to_string(file.size() - end) + " bytes belong to nothing",
                     {.offset = end});
    }
}

std::uint64_t woffLimit(std::uint64_t fileSize) {
    return std::clamp(fileSize * kWoffMostPerByte, kWoffLeastLimit, kWoffMostLimit);
}

void addUnreadableWoff(FaceContext& context, FontFaces& faces, const WoffFindings& findings) {
    Face(faces, context);
    findings.giveTo(faces, faces.size() - 1);
}
