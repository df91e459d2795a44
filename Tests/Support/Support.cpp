#include "Support.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "BigEndian.h"
#include "ByteView.h"

namespace fs = boost::filesystem;

TemporaryFolder::TemporaryFolder()
    : path_(fs::canonical(fs::temp_directory_path()) / fs::unique_path("oxparser-%%%%%%%%%%%%")) {
    fs::create_directories(path_);
}

TemporaryFolder::~TemporaryFolder() {
    boost::system::error_code error;
    fs::remove_all(path_, error);
}

fs::path TemporaryFolder::write(const std::string& name, const Bytes& bytes) const {
    const fs::path file = path_ / name;
    fs::create_directories(file.parent_path());
    std::ofstream out(file.string(), std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    return file;
}

fs::path TemporaryFolder::write(const std::string& name, std::string_view text) const {
    return write(name, bytesOf(text));
}

Bytes bytesOf(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

void patch(Bytes& bytes, std::size_t offset, int width, std::uint32_t value) {
    for (int i = 0; i < width; ++i) {
        bytes.at(offset + static_cast<std::size_t>(i)) =
            static_cast<std::uint8_t>(value >> (8 * (width - 1 - i)));
    }
}

std::uint32_t get32(const Bytes& bytes, std::size_t at) {
    return ByteView(bytes).u32be(at);
}

std::uint32_t code(std::string_view text) {
    return get32(bytesOf(text), 0);
}

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

Bytes readFile(const fs::path& file) {
    std::ifstream in(file.string(), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> diagnosticLines(const OxFont& font) {
    static constexpr const char* kTypes[] = {"warning", "error", "note"};
    std::vector<std::string> lines;
    for (const FontDiagnostic& diagnostic : font.diagnostics()) {
        lines.push_back(std::string(kTypes[diagnostic.type]) + " " +
                        std::to_string(diagnostic.code) +
                        (diagnostic.text.empty() ? "" : " " + diagnostic.text));
    }
    return lines;
}
