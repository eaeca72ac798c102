// SPDX-License-Identifier: MIT
// What libFuzzer calls. DFD_FUZZ_TARGET is the function of the target.
#include "fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    dfd_fuzz::DFD_FUZZ_TARGET({data, size});
    return 0;
}
