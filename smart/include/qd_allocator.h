// qd_allocator: the standard allocator interface over a WrapperAllocator, so that
// std::map and std::set take their nodes from one BlockAllocator per container.
// The tree rebinds its allocator to the node type and asks for one node at a time;
// every rebound copy shares the pool of the allocator it was made from.
//
//   typedef WrapperAllocator<BlockAllocator<64, 1>> PathPool;
//   std::set<std::string, QDLess_<std::string>, qd_allocator<std::string, PathPool>> paths;
//
// QDLess_ is the comparator used beside it: byte order for std::string, operator<
// for everything else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>

#include "quickallocator.h"

template <class T, class WRAPPER>
class qd_allocator {
    template <class U, class W>
    friend class qd_allocator;

public:
    typedef T value_type;
    // Swapping or move-assigning containers hands the pool over with the nodes.
    typedef std::true_type propagate_on_container_move_assignment;
    typedef std::true_type propagate_on_container_swap;
    typedef std::false_type is_always_equal;

    // A new allocator is a new pool.
    qd_allocator() = default;
    template <class U>
    qd_allocator(const qd_allocator<U, WRAPPER>& r) : wrapper_(r.wrapper_) {}

    // A copied container gets a pool of its own, not its source's.
    qd_allocator select_on_container_copy_construction() const { return qd_allocator(); }

    // The standard contract: a block, or std::bad_alloc. The pool returns 0 when the
    // heap refuses a chunk, and after reporting a request above its block size (a
    // container that asks for several nodes at once).
    T* allocate(size_t n) {
        static_assert(sizeof(T) <= WRAPPER::Pool::kBlockBytes,
                      "the container's node does not fit the pool's block");
        static_assert(alignof(T) <= alignof(void*), "the pool's blocks are pointer-aligned");
        const size_t bytes = n * sizeof(T);
        const int32_t request = bytes > static_cast<size_t>(INT32_MAX) || n > SIZE_MAX / sizeof(T)
                                    ? INT32_MAX
                                    : static_cast<int32_t>(bytes);
        void* block = wrapper_.Allocate(request);
        if (!block) throw std::bad_alloc();
        return static_cast<T*>(block);
    }

    void deallocate(T* p, size_t) { wrapper_.Deallocate(p); }

    const WRAPPER& Wrapper() const { return wrapper_; }

    template <class U>
    bool operator==(const qd_allocator<U, WRAPPER>& r) const {
        return wrapper_.SharesPoolWith(r.wrapper_);
    }
    template <class U>
    bool operator!=(const qd_allocator<U, WRAPPER>& r) const {
        return !(*this == r);
    }

private:
    WRAPPER wrapper_;
};

template <class T>
struct QDLess_ {
    bool operator()(const T& a, const T& b) const { return a < b; }
};

// Byte order without locale: bytes compare as unsigned values, so "B" < "a" < "\x80".
// Like the C library, the comparison stops at the first zero byte.
template <>
struct QDLess_<std::string> {
    bool operator()(const std::string& a, const std::string& b) const {
        return strcmp(a.c_str(), b.c_str()) < 0;
    }
};
