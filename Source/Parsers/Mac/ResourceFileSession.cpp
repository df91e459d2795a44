#include "ResourceFileSession.h"

#include <stdexcept>
#include <string>

FSRef referenceTo(const boost::filesystem::path& file) {
    FSRef reference;
    if (FSPathMakeRef(file.c_str(), &reference) != noErr) {
        throw std::runtime_error("err == noErr");
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
        throw std::runtime_error("Corrupt Font:  Cannot open file.  Err= " +
                                 std::to_string(status));
    }
    return reference;
}
