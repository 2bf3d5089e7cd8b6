// RefPack: a counted holder with copy on write. Copies share one entity (its
// allocator words, an atomic count and the T); GetWritable gives the holder a private
// entity first when it shares. All holders of nothing share one static empty entity,
// so an empty RefPack costs no allocation.
//
// Only the count is atomic: copies may be dropped on different threads, but one
// object is written by one thread at a time.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <type_traits>

#include "qdr/qdassert.h"
#include "qdr/qdatomic.h"
#include "qdr/qdfill.h"
#include "xbinary.h"

// Whether a copy of a T came out whole; types whose copy cannot fail say yes.
template <class T>
inline bool IsWholeCopy(const T&, const T&) {
    return true;
}

template <class T>
class RefPack {
protected:
    struct Entity {
        template <class... Args>
        Entity(const BinaryAllocator& alloc, Args&&... args)
            : alloc_(alloc), refCnt_(1), value_(std::forward<Args>(args)...) {}

        BinaryAllocator alloc_;
        std::atomic<int32_t> refCnt_;
        T value_;
    };

public:
    RefPack() : p_(AddRef(EmptyEntity())) {}
    explicit RefPack(const BinaryAllocator& alloc) : alloc_(alloc), p_(AddRef(EmptyEntity())) {}
    RefPack(const RefPack& r) : alloc_(r.alloc_), p_(AddRef(r.p_)) {}
    RefPack& operator=(const RefPack& r) {
        Entity* kept = AddRef(r.p_);
        Drop(p_);
        p_ = kept;
        return *this;
    }
    ~RefPack() {
        Drop(p_);
        FillDestroyed(&p_, sizeof(p_));
    }

    const T& Read() const {
        CheckInvariant();
        return p_->value_;
    }

    // The T, private to this holder. A private entity that cannot be allocated (or
    // whose copy of T did not come out whole) is reported; the result is then 0 and
    // the holder keeps sharing what it had.
    T* GetWritable() {
        CheckInvariant();
        if (p_->refCnt_ < 2) return &p_->value_;
        void* block = alloc_.malloc(sizeof(Entity));
        if (!block) {
            QDR_CHECK(false);
            return nullptr;
        }
        Entity* mine =
            p_ == EmptyEntity() ? MakeEmpty(block) : new (block) Entity(alloc_, p_->value_);
        if (!IsWholeCopy(mine->value_, p_->value_)) {
            mine->~Entity();
            alloc_.free(block);
            return nullptr;
        }
        Drop(p_);
        p_ = mine;
        QDR_CHECK(p_ && 1==p_->refCnt_);
        return &p_->value_;
    }

    bool HoldsEmptyEntity() const { return p_ == EmptyEntity(); }
    int32_t RefCount() const { return p_->refCnt_; }

protected:
    // Lets go of the present entity for the shared empty one.
    void ToEmpty() {
        Entity* empty = EmptyEntity();
        if (p_ == empty) return;
        AddRef(empty);
        Drop(p_);
        p_ = empty;
    }

    // Replaces the present entity by a fresh private one with a T built from this
    // holder's allocator words; 0 (reported) if it cannot be allocated.
    T* Renew() {
        void* block = alloc_.malloc(sizeof(Entity));
        if (!block) {
            QDR_CHECK(false);
            return nullptr;
        }
        Entity* mine = MakeEmpty(block);
        Drop(p_);
        p_ = mine;
        return &p_->value_;
    }

    BinaryAllocator alloc_;
    Entity* p_;

private:
    void CheckInvariant() const { QDR_CHECK(p_ && p_->refCnt_>=1); }

    // A T takes this holder's allocator words where it can, so that a holder with
    // its own source gets its blocks from there too.
    Entity* MakeEmpty(void* block) {
        if constexpr (std::is_constructible<T, const BinaryAllocator&>::value)
            return new (block) Entity(alloc_, alloc_);
        else
            return new (block) Entity(alloc_);
    }

    static Entity* AddRef(Entity* e) {
        QDR_CHECK(e && e->refCnt_ >= 1);
        if (e) e->refCnt_.fetch_add(1);
        return e;
    }

    // At 0 the entity is destroyed and its block returned through its own words.
    static void Drop(Entity* e) {
        QDR_CHECK(e && e->refCnt_ >= 1);
        if (!e) return;
        const int32_t n = e->refCnt_.fetch_sub(1) - 1;
        QDR_CHECK(n >= 0);
        if (n != 0) return;
        BinaryAllocator alloc = e->alloc_;
        e->~Entity();
        alloc.free(e);
    }

    // Built once, under the spin lock with a sleep of 1 ms, and never destroyed: it
    // holds a reference of its own, so its count never falls to 0, and holders that
    // are destroyed at exit can still drop theirs.
    static Entity* EmptyEntity() {
        static LazyGlobal<Entity> empty;
        return empty.Get(
            [] {
                alignas(Entity) static unsigned char room[sizeof(Entity)];
                return new (room) Entity(BinaryAllocator());
            },
            1);
    }
};
