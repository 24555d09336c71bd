// SPDX-License-Identifier: GPL-2.0-only
// A stream of commands of every kind; the invariants are checked after every step.
#include "fuzz/byte_source.h"
#include "fuzz/line.h"
#include "fuzz/step.h"

using namespace gponflow::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    byte_source input(data, size);
    line module((input.u8() & 1) != 0);
    bool usable = true;
    for (int steps = 0; usable && !input.empty() && steps < 128; ++steps) {
        const gponflow::any_command step = take_step(input);
        usable = module.execute(step);
        module.check_after(step);
    }
    module.check();
    return 0;
}
