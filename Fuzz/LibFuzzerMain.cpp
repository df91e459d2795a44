#include <cstddef>
#include <cstdint>

#include "FuzzTarget.h"

// Called by the fuzzer; all targets are linked into the program, of which one answers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FuzzTarget& target = *FuzzTarget::find(OXPARSER_FUZZ_TARGET);
    target.run(ByteView(data, size));
    return 0;
}
