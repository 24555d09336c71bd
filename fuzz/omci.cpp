// SPDX-License-Identifier: GPL-2.0-only
// OMCI messages of any bytes, alone and as a session that is converted to a scenario.
#include "tests/omci/fuzz_entries.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    gponflow::omci::test::fuzz_message(data, size);
    return gponflow::omci::test::fuzz_session(data, size);
}
