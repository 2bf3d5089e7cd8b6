// SmartArray: the library's growable array of constructed items. It starts in the
// inline storage of its SmartBuf base, goes to the heap at the first insertion that
// needs more than stack_len items, and comes back when removals shrink it far enough.
// What does not depend on the inline size (the item count and the moves of items
// inside a block that has the room) lives once per item type in SmartArrayBase.
// Up to stack_len items cost no heap call. Capacity doubles up to 128 MiB and then
// grows by 128 MiB steps; insertion is correct when the source lies in the array.
//
// operator[] is bounded by the live items (valid_cnt_ points at items_), not by the
// capacity. Every failed check is reported; where going on would write outside the
// block, the operation is refused instead and the array left as it was:
// - InsertAt returns false for a source that overlaps the raw slots or runs past the
//   live items, for an index outside 0..size(), and when the room it asked for did
//   not come (a failed allocation, whose report was ignored);
// - assign of such a range, or a failed allocation in assign, leaves the array as it was;
// - RemoveAt of a run outside the live items removes nothing.
#pragma once

#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>

#include "constructor.h"
#include "smartbuf.h"

// The capacity rule, shared by every instantiation: the smallest power of two that
// holds the request while the block is below 128 MiB, then 128 MiB more at a time
// (or the request, if larger).
//   NextLength(0, 4, 16)          -> 16
//   NextLength(16, 4, 16)         -> 32
//   NextLength(2, 48, 1)          -> 4
//   NextLength(0x2000000, 4, 16)  -> 0x4000000   (128 MiB reached: one fixed step)
// The product is taken in 64 bits, so it cannot wrap; a result beyond the 32-bit
// range is cut to INT32_MAX.
inline int32_t NextLength(int32_t old_items, int32_t item_bytes, int32_t increase_items) {
    QDR_CHECK(old_items >= 0);
    QDR_CHECK(item_bytes > 0);
    QDR_CHECK(increase_items >= 1);
    if (old_items < 0) old_items = 0;
    if (item_bytes < 1) item_bytes = 1;
    if (increase_items < 1) increase_items = 1;
    const int64_t want = static_cast<int64_t>(old_items) + increase_items;
    int64_t result;
    if (static_cast<int64_t>(old_items) * item_bytes < 0x8000000) {
        result = 1;
        while (result < want) result <<= 1;
    } else {
        const int64_t step = static_cast<int64_t>(item_bytes) * increase_items;
        result = old_items + (step > 0x8000000 ? step : 0x8000000) / item_bytes;
    }
    if (result > INT32_MAX) result = INT32_MAX;
    QDR_CHECK(result >= want);
    return static_cast<int32_t>(result);
}

// The part of SmartArray that is the same for every inline size: the live item
// count, and the moves of items inside a block that already has the room.
template <class TYPE>
class SmartArrayBase : public SmartBase<TYPE> {
public:
    ~SmartArrayBase() {
        FillDestroyed(&items_, sizeof(items_));
        FillDestroyed(&end_, sizeof(end_));
    }

    TYPE* begin() const {
        QDR_CHECK(this->IsUserThread());
        return this->p_;
    }
    TYPE* end() const {
        // clang-format off
        QDR_CHECK(begin()+items_ == end_);
        // clang-format on
        return end_;
    }
    int32_t size() const { return items_; }
    bool empty() const { return items_ == 0; }
    int32_t MaxLength() const { return this->len_; }

protected:
    void SetItems(int32_t count) {
        QDR_CHECK(0 <= count && count <= this->len_);
        if (count < 0) count = 0;
        if (count > this->len_) count = this->len_;
        items_ = count;
        end_ = this->p_ + count;
    }

    // Puts count items from objs before index ins; the block has the room. A source
    // inside the array is at self_index (else -1), where it stood before the block
    // last moved.
    void PlaceItems(int32_t ins, const TYPE* objs, int32_t count, int32_t self_index) {
        TYPE* const p = this->p_;
        if (ins >= items_) {
            QDR_CHECK(ins == items_);
            CopyConstruct(p + items_, objs, count);
            SetItems(items_ + count);
            return;
        }

        // Slots items_ .. items_+count-1 are raw and get constructed, the slots below
        // are live and get assigned; all descending, so nothing is overwritten before
        // it is read. First the top of the old items moves into raw slots.
        int32_t new_idx = items_ + count - 1;
        int32_t copied_count_of_need_move = 0;
        while (new_idx >= items_ && new_idx - count >= ins) {
            new (p + new_idx) TYPE(p[new_idx - count]);
            --new_idx;
            ++copied_count_of_need_move;
        }
        QDR_CHECK(copied_count_of_need_move <= count);
        // Fewer than count items follow ins: the top of the source fills the rest.
        for (int32_t i = count - 1; i >= 0 && new_idx >= items_; --i, --new_idx)
            new (p + new_idx) TYPE(objs[i]);
        QDR_CHECK(new_idx + 1 == items_);
        // The remaining old items move up by assignment.
        int32_t left = items_ - ins - copied_count_of_need_move;
        for (int32_t dst = items_ - 1; dst >= ins && left >= 1; --dst, --left)
            p[dst] = p[dst - count];

        if (self_index != -1 && self_index < ins && self_index + count > ins) {
            // The source straddles ins: its front still stands where it stood, its
            // back has moved up by count.
            QDR_CHECK(self_index < ins && self_index + count > ins);
            QDR_CHECK(count >= 2);
            int32_t k = 0;
            for (int32_t s = self_index; s < ins; ++s) p[ins + k++] = p[s];
            for (int32_t s = ins + count; k < count; ++s) p[ins + k++] = p[s];
        } else {
            // A source at or behind ins has moved up whole. Slots constructed above
            // are assigned again with the same value: an item's operator= sees it.
            if (self_index >= ins) objs += count;
            for (int32_t i = 0; i < count; ++i) p[ins + i] = objs[i];
        }
        SetItems(items_ + count);
    }

    // Removes count items from index; false when there was nothing to remove.
    bool RemoveItems(int32_t index, int32_t count) {
        QDR_CHECK(this->IsUserThread());
        if (count < 1) {
            QDR_CHECK(count == 0);
            return false;
        }
        QDR_CHECK(0 <= index && index < items_);
        const int64_t last = static_cast<int64_t>(index) + count - 1;
        QDR_CHECK(0 <= last && last < items_);
        const int32_t new_items = items_ - count;
        QDR_CHECK(new_items >= 0);
        if (index < 0 || index >= items_ || last >= items_) return false;
        TYPE* const p = this->p_;
        for (int32_t i = static_cast<int32_t>(last) + 1; i < items_; ++i) p[i - count] = p[i];
        // The surplus top slots are destroyed, not the removed ones: they were
        // overwritten by the items behind them.
        DestroyItems(p + new_items, count);
        SetItems(new_items);
        return true;
    }

    static void CopyConstruct(TYPE* dest, const TYPE* src, int32_t count) {
        if (std::is_trivially_copyable<TYPE>::value) {
            memcpy(static_cast<void*>(dest), static_cast<const void*>(src),
                   static_cast<size_t>(count) * sizeof(TYPE));
            return;
        }
        for (int32_t i = 0; i < count; ++i) new (dest + i) TYPE(src[i]);
    }

    int32_t items_;
    TYPE* end_;
};

template <class TYPE, int stack_len, class ALLOC = sys_allocator_traits>
class SmartArray : public SmartBuf<TYPE, stack_len, ALLOC, SmartArrayBase<TYPE>> {
    typedef SmartBuf<TYPE, stack_len, ALLOC, SmartArrayBase<TYPE>> Buf;
    typedef SmartArrayBase<TYPE> Items;

    // At least 64 bytes' worth of items at a time: 16 ints, 1 item of 48 bytes, and
    // 0 for items of 88 bytes and more, lifted to the request where it is used.
    static constexpr int32_t kMinStep = static_cast<int32_t>(64 / sizeof(TYPE));

public:
    typedef TYPE value_type;
    typedef TYPE* iterator;
    typedef const TYPE* const_iterator;
    using Items::begin;
    using Items::empty;
    using Items::end;
    using Items::MaxLength;
    using Items::size;

    explicit SmartArray(const ALLOC& alloc = ALLOC()) : Buf(0, alloc) { Start(); }

    SmartArray(const SmartArray& r) : Buf(0, r.Allocator()) {
        Start();
        QDR_CHECK(this != &r);
        *this = r;
    }

    ~SmartArray() { clear(); }

    SmartArray& operator=(const SmartArray& r) {
        if (&r != this) assign(r.begin(), r.end());
        return *this;
    }

    void push_back(const TYPE& obj) {
        // Room left and a source outside the block: the append of InsertAt, without
        // the tests that cannot fail here. Measured (bench/containers_bench):
        // 1000 ints 3.6 us -> 2.1 us.
        const uintptr_t src = reinterpret_cast<uintptr_t>(&obj);
        if (items_ < this->len_ && (src < reinterpret_cast<uintptr_t>(this->p_) ||
                                    src >= reinterpret_cast<uintptr_t>(this->p_ + this->len_))) {
            QDR_CHECK(this->IsUserThread());
            new (end_) TYPE(obj);
            ++items_;
            ++end_;
            return;
        }
        const bool inserted = InsertAt(items_, obj);
        QDR_CHECK(inserted);
    }

    void insert(const TYPE* it, const TYPE& obj) {
        const bool inserted = InsertAt(static_cast<int32_t>(it - begin()), obj);
        QDR_CHECK(inserted);
    }

    bool InsertAt(int32_t ins, const TYPE& obj) { return InsertAt(ins, &obj, 1); }

    // Inserts count items before index ins. The source may lie in the array itself,
    // before, behind or across the insertion point:
    //   A B C D E, InsertAt(2, p_, 4)     -> A B A B C D C D E
    //   A B C D E, InsertAt(1, p_ + 3, 2) -> A D E B C D E
    //   A B C D E, InsertAt(3, p_, 2)     -> A B C A B D E
    bool InsertAt(int32_t ins, const TYPE* objs, int32_t count) {
        QDR_CHECK(this->IsUserThread());
        QDR_CHECK(items_ <= this->len_);
        QDR_CHECK(0 <= ins && ins <= items_);
        if (count == 0) return true;
        if (!objs || count < 0) {
            QDR_CHECK(false);
            return false;
        }
        if (ins < 0 || ins > items_ || count > INT32_MAX - items_) return false;

        int32_t self_index = -1;
        const uintptr_t src = reinterpret_cast<uintptr_t>(objs);
        const uintptr_t srcEnd = reinterpret_cast<uintptr_t>(objs + count);
        const uintptr_t block = reinterpret_cast<uintptr_t>(this->p_);
        const uintptr_t live = reinterpret_cast<uintptr_t>(this->p_ + items_);
        const uintptr_t room = reinterpret_cast<uintptr_t>(this->p_ + this->len_);
        if (src >= block && src < live) {
            QDR_CHECK(srcEnd <= live);
            if (srcEnd > live) return false;
            self_index = static_cast<int32_t>(objs - this->p_);
        } else {
            QDR_CHECK(srcEnd <= block || src >= room);
            if (!(srcEnd <= block || src >= room)) return false;
        }

        if (items_ + count > this->len_) {
            QDR_CHECK(this->len_ >= 0);
            int32_t newLen;
            if (items_ + count <= stack_len) {
                QDR_CHECK(this->IsStack());
                newLen = items_ + count;
            } else {
                const int32_t count2 = kMinStep > count ? kMinStep : count;
                newLen = NextLength(items_, static_cast<int32_t>(sizeof(TYPE)), count2);
                QDR_CHECK(static_cast<int64_t>(newLen) >= static_cast<int64_t>(items_) + count2);
            }
            SetMaxLength(newLen);
            if (this->len_ < items_ + count) return false;
        }
        // The block may have moved, and a source in it with it.
        if (self_index != -1) objs = this->p_ + self_index;
        PlaceItems(ins, objs, count, self_index);
        return true;
    }

    void RemoveAt(int32_t index, int32_t count) {
        if (this->RemoveItems(index, count)) ShrinkToFit();
    }

    // Returns the new end() if itE was end(), else the item now at itB's old index.
    TYPE* erase(const TYPE* itB, const TYPE* itE) {
        QDR_CHECK(itB <= itE);
        const bool toEnd = itE == end();
        const int32_t index = static_cast<int32_t>(itB - begin());
        RemoveAt(index, static_cast<int32_t>(itE - itB));
        return toEnd ? end() : begin() + index;
    }

    void clear() { erase(begin(), end()); }

    // Replaces the items by [itB, itE). A range inside the live items cuts the array
    // down to it, with a capacity of exactly its length.
    void assign(const TYPE* itB, const TYPE* itE) {
        QDR_CHECK(this->IsUserThread());
        QDR_CHECK(itB <= itE);
        if (itB >= itE) {
            clear();
            return;
        }
        const int32_t count = static_cast<int32_t>(itE - itB);
        TYPE* p = this->p_;
        const uintptr_t b = reinterpret_cast<uintptr_t>(itB);
        const uintptr_t e = reinterpret_cast<uintptr_t>(itE);
        if (b >= reinterpret_cast<uintptr_t>(p) && b < reinterpret_cast<uintptr_t>(p + items_)) {
            QDR_CHECK(e <= reinterpret_cast<uintptr_t>(p + items_));
            if (e > reinterpret_cast<uintptr_t>(p + items_)) return;
            const int32_t first = static_cast<int32_t>(itB - p);
            DestroyItems(p + first + count, items_ - first - count);
            if (first != 0) {
                for (int32_t i = 0; i < count; ++i) p[i] = p[first + i];
                DestroyItems(p + count, first);
            }
            SetItems(count);
            SetMaxLength(count);
            return;
        }
        const bool apart =
            e <= reinterpret_cast<uintptr_t>(p) || b >= reinterpret_cast<uintptr_t>(p + this->len_);
        QDR_CHECK(apart);
        if (!apart) return;
        if (count > items_) {
            if (count > this->len_) SetMaxLength(count);
            if (this->len_ < count) return;
            TYPE* q = this->p_;
            const TYPE* from = itB;
            for (int32_t i = 0; i < items_; ++i) *q++ = *from++;
            for (; from < itE; ++q, ++from) new (q) TYPE(*from);
            // The report shows this expression as written.
            // clang-format off
            QDR_CHECK((q - this->p_) == count);
            // clang-format on
            SetItems(count);
        } else {
            if (count < items_) {
                DestroyItems(p + count, items_ - count);
                SetItems(count);
                SetMaxLength(count);
            }
            TYPE* q = this->p_;
            for (int32_t i = 0; i < count; ++i) q[i] = itB[i];
        }
    }

    // Grows with copies of value or cuts the tail. Growth sets an exact capacity.
    // A value that lies in the array is copied first, since the block may move.
    void Resize(int32_t count, const TYPE& value) {
        QDR_CHECK(this->IsUserThread());
        QDR_CHECK(count >= 0);
        if (count < 0) return;
        if (count < items_) {
            DestroyItems(this->p_ + count, items_ - count);
            SetItems(count);
            ShrinkToFit();
            return;
        }
        if (count == items_) return;
        if (count > this->len_) {
            const uintptr_t v = reinterpret_cast<uintptr_t>(&value);
            if (v >= reinterpret_cast<uintptr_t>(this->p_) &&
                v < reinterpret_cast<uintptr_t>(this->p_ + items_)) {
                const TYPE copy(value);
                Resize(count, copy);
                return;
            }
            SetMaxLength(count);
            if (this->len_ < count) return;
        }
        ConstructItems(this->p_ + items_, count - items_, value);
        SetItems(count);
    }

    // The only place where the block changes. A length below the live items is
    // refused without a report; a failed allocation is reported ("(false)") and
    // leaves the array as it was.
    void SetMaxLength(int32_t max_len) {
        QDR_CHECK(this->IsUserThread());
        QDR_CHECK(max_len >= 0);
        QDR_CHECK(items_ >= 0);
        QDR_CHECK(this->len_ >= items_);
        this->CheckRepresentation();
        if (max_len == this->len_ || max_len < items_) return;
        this->SetBlock(max_len, items_);
        SetItems(items_);
    }

protected:
    using Items::end_;
    using Items::items_;
    using Items::PlaceItems;
    using Items::SetItems;
    // Called after every removal. It asks for the length that the last insertion of
    // the survivors would have produced, which leaves a dead band: 4-byte items at
    // len_ 64 keep their block down to 18 items and go to 32 at 17.
    void ShrinkToFit() {
        QDR_CHECK(this->len_ > items_);
        if (items_ < 1) {
            SetMaxLength(items_);
            return;
        }
        const int32_t step = kMinStep > 1 ? kMinStep : 1;
        const int32_t newLen = NextLength(items_ - 1, static_cast<int32_t>(sizeof(TYPE)), step);
        QDR_CHECK(newLen >= items_);
        if (this->len_ > newLen) SetMaxLength(newLen);
    }

private:
    void Start() {
        QDR_CHECK(this->len_ == 0);
        SetItems(0);
        this->valid_cnt_ = &items_;
    }
};
