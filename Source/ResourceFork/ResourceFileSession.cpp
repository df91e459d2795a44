#include "ResourceFileSession.h"

#include <string>

#include "ErrorStatus.h"

namespace {

ForkTrouble troubleOf(std::int16_t status) {
    const ForkTrouble trouble = LastForkTrouble();
    const boost::system::error_code error = errorOfStatus(status);
    return trouble ? trouble : ForkTrouble{error, error.message()};
}

}  // namespace

FSRef referenceTo(const boost::filesystem::path& file) {
    FSRef reference;
    if (const std::int16_t status = FSPathMakeRef(file.c_str(), &reference); status != noErr) {
        const boost::system::error_code error = errorOfStatus(status);
        throw ForkError("err == noErr", status, {error, error.message()});
    }
    return reference;
}

std::int16_t openFork(const FSRef& file, ForkNameOperation forkName) {
    HFSUniStr255 name;
    if (forkName(&name) != noErr) {
        throw std::runtime_error("err == noErr");
    }
    std::int16_t reference = -1;
    const std::int16_t status = FSOpenResourceFile(&file, name, fsRdPerm, &reference);
    if (status != noErr) {
        throw ForkError("Corrupt Font:  Cannot open file.  Err= " + std::to_string(status), status,
                        troubleOf(status));
    }
    return reference;
}
