/* SPDX-License-Identifier: GPL-2.0-only */
/* Memory that is followed by an unreadable page. */
#pragma once

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "base/types.h"

namespace gpon::test {

/* Objects are placed so that a read past their end is a fault. */
class cliff {
public:
    cliff() : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE)))
    {
        void* mapped =
            mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(mapped, MAP_FAILED);
        start_ = static_cast<u8*>(mapped);
        EXPECT_EQ(mprotect(start_ + page_, page_, PROT_NONE), 0);
    }
    ~cliff() { munmap(start_, 2 * page_); }
    cliff(const cliff&) = delete;
    cliff& operator=(const cliff&) = delete;

    /* The object's first `readable` bytes, up to the edge. */
    void* place(const void* object, size_t readable)
    {
        u8* at = start_ + page_ - readable;
        std::memcpy(at, object, readable);
        return at;
    }
    uint64_t address(const void* object, size_t readable)
    {
        return reinterpret_cast<uintptr_t>(place(object, readable));
    }

private:
    size_t page_;
    u8* start_ = nullptr;
};

} // namespace gpon::test
