/* SPDX-License-Identifier: GPL-2.0-only */
/* Guards for memory and locks: no code of the core frees or unlocks explicitly. */
#ifndef GPON_MEMORY_H
#define GPON_MEMORY_H

#include <span>

#include "../platform/api/kernel_api.h"

namespace gpon {

/* Owns one block of the kernel's allocator. */
template <typename T> class owned {
public:
    owned() = default;
    explicit owned(T* block) : block_(block) {}
    owned(owned&& from) noexcept : block_(from.release()) {}
    owned& operator=(owned&& from) noexcept
    {
        T* block = from.release();
        kfree(block_);
        block_ = block;
        return *this;
    }
    owned(const owned&) = delete;
    owned& operator=(const owned&) = delete;
    // Most owners have passed their block on; these need no call.
    ~owned()
    {
        if (block_)
            kfree(block_);
    }

    explicit operator bool() const { return block_ != nullptr; }
    [[nodiscard]] T* get() const { return block_; }
    T* operator->() const { return block_; }
    T& operator*() const { return *block_; }
    T& operator[](size_t i) const { return block_[i]; }

    [[nodiscard]] T* release()
    {
        T* block = block_;
        block_ = nullptr;
        return block;
    }

private:
    T* block_ = nullptr;
};

/* Zero-filled, non-sleeping; empty if there is no memory. */
template <typename T> [[nodiscard]] inline owned<T> zalloc(size_t count = 1)
{
    return owned<T>(static_cast<T*>(kzalloc(count * sizeof(T), GFP_ATOMIC)));
}

[[nodiscard]] inline owned<u8> zalloc_bytes(i32 bytes)
{
    return zalloc<u8>(static_cast<size_t>(bytes));
}

/* The memory of a packet's buffers during the lifetime of this object. */
class packet_memory_owner {
public:
    explicit packet_memory_owner(packet_memory& memory) : memory_(memory)
    {
        packet_memory_begin(&memory_);
    }
    ~packet_memory_owner() { packet_memory_end(&memory_); }
    packet_memory_owner(const packet_memory_owner&) = delete;
    packet_memory_owner& operator=(const packet_memory_owner&) = delete;

private:
    packet_memory& memory_;
};

/* Owns a buffer for a record of one step of a packet, undefined until it is written. Buffers are
 * freed in reverse order: none moves, so a constructor allocates; a failure leaves it empty. */
template <typename Record> class packet_buffer {
public:
    packet_buffer() = default;
    /* Empty if there is no memory left; memory itself is null if the caller has no walk. */
    explicit packet_buffer(packet_memory* memory) { allocate(memory); }
    packet_buffer(const packet_buffer&) = delete;
    packet_buffer& operator=(const packet_buffer&) = delete;
    ~packet_buffer()
    {
        if (at_)
            packet_buffer_free(memory_, at_, sizeof(Record));
    }

    /* For a buffer that was created without a record. */
    void allocate(packet_memory* memory)
    {
        memory_ = memory;
        at_ = static_cast<Record*>(packet_buffer_alloc(memory, sizeof(Record)));
    }

    explicit operator bool() const { return at_ != nullptr; }
    Record* operator->() const { return at_; }
    Record& operator*() const { return *at_; }
    [[nodiscard]] std::span<u8, sizeof(Record)> bytes() const
    {
        return std::span<u8, sizeof(Record)>(reinterpret_cast<u8*>(at_), sizeof(Record));
    }

private:
    Record* at_ = nullptr;
    packet_memory* memory_ = nullptr;
};

class GPON_SCOPED_CAPABILITY bh_lock {
public:
    [[nodiscard]] explicit bh_lock(spinlock& lock) GPON_ACQUIRE(lock) : lock_(lock)
    {
        spin_lock_bh(&lock_);
    }
    ~bh_lock() GPON_RELEASE() { spin_unlock_bh(&lock_); }
    bh_lock(const bh_lock&) = delete;
    bh_lock& operator=(const bh_lock&) = delete;

private:
    spinlock& lock_;
};

/* Holds the control mutex. No list changes meanwhile: its holder may read the lists as well. */
class GPON_SCOPED_CAPABILITY control_guard {
public:
    [[nodiscard]] control_guard() GPON_ACQUIRE(gpon_flow_control_mutex)
        GPON_ACQUIRE_SHARED(gpon_rcu_section) GPON_NO_LOCK_ANALYSIS
    {
        mutex_lock(&gpon_flow_control_mutex);
    }
    ~control_guard() GPON_RELEASE() GPON_NO_LOCK_ANALYSIS
    {
        mutex_unlock(&gpon_flow_control_mutex);
    }
    control_guard(const control_guard&) = delete;
    control_guard& operator=(const control_guard&) = delete;
};

class GPON_SCOPED_CAPABILITY rcu_reader {
public:
    [[nodiscard]] rcu_reader() GPON_ACQUIRE_SHARED(gpon_rcu_section) { rcu_read_lock(); }
    ~rcu_reader() GPON_RELEASE() { rcu_read_unlock(); }
    rcu_reader(const rcu_reader&) = delete;
    rcu_reader& operator=(const rcu_reader&) = delete;
};

} // namespace gpon

#endif
