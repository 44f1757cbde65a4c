// The main program when libFuzzer drives it.
#include "Fuzz.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orvanel::test::fuzz({data, static_cast<qsizetype>(size)});
    return 0;
}
