// SPDX-License-Identifier: GPL-2.0-only
#include "generation.h"

#include "../base/memory.h"

GPON_MODULE_DATA constinit u64 gpon::generation_word = gpon::FIRST_GENERATION;

namespace {

// Number of open brackets; used by one control caller at a time.
GPON_MODULE_DATA constinit u32 open_changes = 0;

void advance(u64 by) GPON_REQUIRES(gpon_hash_lock)
{
    gpon::store_release(gpon::generation_word, gpon::load_relaxed(gpon::generation_word) + by);
}

void advance_safe(u64 by) GPON_EXCLUDES(gpon_hash_lock)
{
    const gpon::bh_lock lock(gpon_hash_lock);
    advance(by);
}

} // namespace

void gpon::begin_generation()
{
    advance(2);
}

gpon::store_change::store_change()
{
    if (open_changes++ != 0)
        return;
    advance_safe(1);
    order_stores();
}

gpon::store_change::~store_change()
{
    if (--open_changes == 0)
        advance_safe(1);
}
