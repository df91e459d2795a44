#include "MacFiles.h"

#include <string>

#include "AppleDouble.h"
#include "ScratchFolder.h"

boost::filesystem::path writeMacFile(const char* name, std::uint32_t type, ByteView fork) {
    const ScratchFolder& folder = ScratchFolder::instance();
    const auto bytes = appledouble::makeAppleDouble(FinderInfo::of(type, 0), fork);
    folder.write(std::string("._") + name, ByteView(bytes.data(), bytes.size()));
    return folder.write(name, {});
}
