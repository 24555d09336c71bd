// SPDX-License-Identifier: GPL-2.0-only
#include "generation.h"

#include "../base/memory.h"

alignas(sizeof(u64)) GPON_MODULE_DATA constinit u64 gpon::generation_word = gpon::FIRST_GENERATION;
alignas(sizeof(u64)) GPON_MODULE_DATA constinit u64 gpon::store_word = gpon::FIRST_GENERATION;

namespace {

// Number of open brackets; used by one control caller at a time.
GPON_MODULE_DATA constinit u32 open_changes = 0;

void advance(u64& word, u64 by) GPON_REQUIRES(gpon_hash_lock)
{
    gpon::store_release(word, gpon::load_relaxed(word) + by);
}

void advance_both(u64 by) GPON_EXCLUDES(gpon_hash_lock)
{
    const gpon::bh_lock lock(gpon_hash_lock);
    advance(gpon::generation_word, by);
    advance(gpon::store_word, by);
}

} // namespace

void gpon::begin_generation()
{
    advance(generation_word, 2);
}

gpon::store_change::store_change()
{
    if (open_changes++ != 0)
        return;
    advance_both(1);
    order_stores();
}

gpon::store_change::~store_change()
{
    if (--open_changes == 0)
        advance_both(1);
}
