#include <cstddef>
#include <cstdint>

#include "FuzzTarget.h"

// Called by the fuzzer; the one target linked into the program answers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzTarget::all().front()->run(ByteView(data, size));
    return 0;
}
