#include "Support.h"

#include <fstream>
#include <iterator>

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

Bytes readFile(const fs::path& file) {
    std::ifstream in(file.string(), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
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
