#include "ProgramParts.h"

#include <algorithm>

#include "FindingText.h"
#include "PostScriptScanner.h"

namespace {

constexpr std::uint8_t kMarker = 0x80;
constexpr std::uint64_t kHeaderSize = 6;

enum SegmentType : std::uint8_t { eText = 1, eBinary = 2, eFileEnd = 3 };

constexpr int kPastEnd = 20300;
constexpr int kNoEnd = 20301;
constexpr int kFirstByte = 20302;
constexpr int kNoSegment = 20303;

ByteView viewOf(const std::string& text) {
    return ByteView(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

// Adds a segment to a part: the first as it lies in the file, further ones in a copy.
void join(ByteView& part, std::string& copy, ByteView segment) {
    if (part.empty()) {
        part = segment;
        return;
    }
    if (copy.empty()) {
        copy = part.text();
    }
    copy += segment.text();
    part = viewOf(copy);
}

}  // namespace

ProgramParts::ProgramParts(ByteView file, Face& face) {
    if (isSegmented(file)) {
        readSegments(file, face);
    } else {
        clear_ = file;
    }
    if (encrypted_.empty()) {
        splitText(clear_);
    }
}

bool ProgramParts::isSegmented(ByteView file) {
    return file.size() >= 2 && (file.u8(0) == kMarker || file.u8(0) == 0) && file.u8(1) == eText;
}

void ProgramParts::readSegments(ByteView file, Face& face) {
    if (file.u8(0) != kMarker) {
        face.find(kFirstByte, hexByte(file.u8(0)) + ", should be 0x80", inFile("segment", 0));
    }
    std::uint64_t offset = 0;
    while (file.holds(offset, kHeaderSize)) {
        const std::uint8_t marker = file.u8(offset);
        const std::uint8_t type = file.u8(offset + 1);
        const bool marked = marker == kMarker || offset == 0;
        if (marked && type == eFileEnd) {
            return;
        }
        if (!marked || (type != eText && type != eBinary)) {
            face.find(kNoSegment, hexByte(marker) + " " + hexByte(type) + ", should be 0x80 0x03",
                      inFile("segment", offset));
            if (encrypted_.empty()) {  // the length before was wrong: the text says where it ends
                clear_ = file.from(kHeaderSize);
            }
            return;
        }
        const std::uint32_t length = file.u32le(offset + 2);
        const ByteView segment = file.clamped(offset + kHeaderSize, length);
        if (segment.size() < length) {
            face.find(
                kPastEnd,
                std::to_string(length) + " bytes, there are " + std::to_string(segment.size()),
                inFile("segment length", offset + 2));
        }
        if (type == eBinary) {
            join(encrypted_, joinedEncrypted_, segment);
        } else if (encrypted_.empty()) {
            join(clear_, joinedClear_, segment);
        }
        offset += kHeaderSize + length;
    }
    const ByteView rest = file.clamped(offset, kHeaderSize);
    const bool ended = rest.size() >= 2 && rest.u8(0) == kMarker && rest.u8(1) == eFileEnd;
    if (!ended && offset <= file.size()) {
        face.find(kNoEnd, "", inFile("segment", offset));
    }
}

void ProgramParts::splitText(ByteView text) {
    PostScriptScanner scanner(text.text());
    for (auto token = scanner.next(); !token.is(PostScriptToken::Kind::eEnd);
         token = scanner.next()) {
        if (!token.isWord("eexec")) {
            continue;
        }
        // The first encrypted byte is never one of these (Type 1 Font Format 7.2).
        std::size_t start = scanner.position();
        while (start < text.size() &&
               std::string_view(" \t\r\n").find(text.text()[start]) != std::string_view::npos) {
            ++start;
        }
        ByteView rest = text.from(start);
        if (rest.holds(0, kHeaderSize) && rest.u8(0) == kMarker && rest.u8(1) == eBinary) {
            rest = rest.from(kHeaderSize);
        }
        clear_ = text.clamped(0, scanner.position());
        encrypted_ = rest;
        return;
    }
}
