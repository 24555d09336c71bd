// SPDX-License-Identifier: GPL-2.0-only
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "tests/host/fake_module.h"

namespace {

using gpon::host::arm_fault;
using gpon::host::fault;

class user_memory : public host_test {};

// Two readable pages, followed by an unreadable one.
class guarded_pages {
public:
    guarded_pages()
        : start_(static_cast<char*>(
              mmap(nullptr, 3 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        std::memset(start_, 'u', 2 * page);
        mprotect(end(), page, PROT_NONE);
    }
    ~guarded_pages() { munmap(start_, 3 * page); }
    guarded_pages(const guarded_pages&) = delete;
    guarded_pages& operator=(const guarded_pages&) = delete;

    char* end() const { return start_ + 2 * page; }

    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));

private:
    char* start_;
};

TEST_F(user_memory, copies_readable_memory)
{
    char to[6] = {};
    EXPECT_EQ(copy_from_user(to, "hello", 6), 0u);
    EXPECT_STREQ(to, "hello");
    EXPECT_EQ(copy_from_user(to, nullptr, 0), 0u);
}

TEST_F(user_memory, returns_all_bytes_for_unreadable_addresses)
{
    char to[4];
    const guarded_pages pages;
    for (const void* from : {static_cast<const void*>(nullptr), reinterpret_cast<const void*>(8),
                             reinterpret_cast<const void*>(UINTPTR_MAX - 1),
                             reinterpret_cast<const void*>(uintptr_t{1} << 63),
                             static_cast<const void*>(pages.end())}) {
        std::memset(to, '#', sizeof(to));
        EXPECT_EQ(copy_from_user(to, from, sizeof(to)), sizeof(to)) << from;
        EXPECT_EQ(to[0], '\0');
    }
}

TEST_F(user_memory, counts_the_bytes_behind_the_last_readable_page)
{
    const guarded_pages pages;
    std::vector<char> to(2 * pages.page, '#');
    EXPECT_EQ(copy_from_user(to.data(), pages.end() - 5, 8), 3u);
    EXPECT_EQ(std::string(to.data(), 9), std::string("uuuuu\0\0\0#", 9));
    EXPECT_EQ(copy_from_user(to.data(), pages.end() - pages.page - 7, to.size()), pages.page - 7);
}

TEST_F(user_memory, the_nth_copy_fails_completely)
{
    char to[3] = {'#', '#', '#'};
    arm_fault(fault::copy, 2);
    EXPECT_EQ(copy_from_user(to, "abc", 3), 0u);
    EXPECT_EQ(copy_from_user(to, "abc", 3), 3u);
    EXPECT_TRUE(gpon::host::fault_fired(fault::copy));
    EXPECT_EQ(to[0], '\0');
    EXPECT_EQ(copy_from_user(to, "abc", 3), 0u);
}

} // namespace
