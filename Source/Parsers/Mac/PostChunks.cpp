#include "PostChunks.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "FileBytes.h"
#include "MacResourceTypes.h"
#include "ResourceManager.h"

namespace {

constexpr std::int16_t kFirstId = 501;
constexpr std::int16_t kLastId = 32767;
// Of the program's text; many ids may name the same bytes.
constexpr std::size_t kMostText = std::size_t{16} * 1024 * 1024;

enum class ChunkKind : std::uint8_t {
    eComment = 0,
    eText = 1,
    eBinary = 2,
    eEndOfFile = 3,
    eDataFork = 4,
    eEndOfFont = 5,
};

class ChunkReader {
  public:
    explicit ChunkReader(const boost::filesystem::path& file) : file_(file) {}

    PostChunks read() {
        const int count = Count1Resources(kPostType);
        if (count < 1) {
            report("No POST resources");
            return std::move(program_);
        }
        int found = 0;
        for (int id = kFirstId; id <= kLastId; ++id) {
            const Handle chunk = Get1Resource(kPostType, static_cast<std::int16_t>(id));
            if (chunk == nullptr) {
                reportEnd(id, found < count, ResError());
                break;
            }
            ++found;
            if (readChunk(id, handleBytes(chunk))) {
                break;
            }
        }
        return std::move(program_);
    }

  private:
    void report(const std::string& text) { program_.defects.push_back("Corrupt Font:  " + text); }

    void reportEnd(int id, bool chunksLeft, std::int16_t status) {
        if (chunksLeft) {
            report("Missing POST resource " + std::to_string(id) +
                   ".  Err= " + std::to_string(status));
        } else {
            report("No end in POST resources");
        }
    }

    // True when the font ends with this chunk.
    bool readChunk(int id, ByteView chunk) {
        if (chunk.empty()) {
            return false;  // real fonts hold such chunks
        }
        if (chunk.size() < 2) {
            report("Invalid size of POST resource " + std::to_string(id));
            return false;
        }
        if (chunk.u8(1) != 0) {
            report("Invalid tag of POST resource " + std::to_string(id));
        }
        switch (static_cast<ChunkKind>(chunk.u8(0))) {
            case ChunkKind::eComment:
            case ChunkKind::eBinary:
                return false;
            case ChunkKind::eText:
                append(chunk.from(2).text());
                return false;
            case ChunkKind::eDataFork:
                appendDataFork();
                return false;
            case ChunkKind::eEndOfFile:
            case ChunkKind::eEndOfFont:
                return true;
        }
        report("Invalid kind of POST resource " + std::to_string(id));
        return false;
    }

    void append(std::string_view text) {
        if (text.size() > kMostText - program_.text.size() && !isCut_) {
            isCut_ = true;
            report("Printer font is too large to read");
        }
        program_.text += text.substr(0, kMostText - program_.text.size());
    }

    // Container headers and segment marks before the program do no harm to its reading.
    void appendDataFork() {
        if (!dataFork_) {
            dataFork_ = readDataFork();
        }
        if (dataFork_->empty()) {
            report(dataForkDefect_);
        }
        append(*dataFork_);
    }

    // The program in it; empty, with a defect, when there is none.
    std::string readDataFork() {
        FileBytes file;
        if (!file.open(file_)) {
            dataForkDefect_ = "Cannot read data fork";
            return {};
        }
        std::string text(static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), kMostText)),
                         '\0');
        text.resize(file.readAt(0, reinterpret_cast<std::uint8_t*>(text.data()), text.size()));
        const std::size_t start = text.find("%!");
        if (start == std::string::npos) {
            dataForkDefect_ = "No program in data fork";
            return {};
        }
        return text.substr(start);
    }

    const boost::filesystem::path& file_;
    PostChunks program_;
    std::optional<std::string> dataFork_;  // read once, however many chunks name it
    const char* dataForkDefect_ = "";
    bool isCut_ = false;
};

}  // namespace

PostChunks PostChunks::read(const boost::filesystem::path& file) {
    return ChunkReader(file).read();
}
