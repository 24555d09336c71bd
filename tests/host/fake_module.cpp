// SPDX-License-Identifier: GPL-2.0-only
#include "tests/host/fake_module.h"

#include "base/types.h"

fake_module module_under_test;
GPON_MODULE_DATA int module_word = 41;

extern "C" {

int init_module()
{
    return module_under_test.load ? module_under_test.load() : 0;
}

void cleanup_module()
{
    if (module_under_test.unload)
        module_under_test.unload();
}
}
