// QuickStringSet: an ordered map with text keys, kept as a sorted SmartArray. Lookup
// is a binary search without allocation; insertion moves the tail, so a set is meant
// to be filled once and read often. Each item keeps a copy of its key's units, but
// comparisons use the key slice as given, whose text must outlive the item: the
// configuration reader keys its sets by slices of the file text it holds.
//
// Keys compare by the set's comparison function if it has one; otherwise by memcmp
// (unsigned bytes) when both keys have 16 units or more, and unit by unit as signed
// characters below that. The two orders disagree about bytes of 0x80 and above, so
// the order of such keys depends on their length; both are kept as they are:
//   "\x80" vs "A"                      -> "\x80" first  (short: signed)
//   "\x80" + 19 x "a" vs "A" + 19 x "a" -> "A" first     (long: memcmp)
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "ptrstr.h"
#include "smartarray.h"

// Three-way comparison of two keys; a length of -1 means a terminated key.
typedef int (*QuickStringCompare)(void* userWord, const char* left, int32_t left_len,
                                  const char* right, int32_t right_len);

template <class VALUE>
struct QuickStringItem {
    QuickStringItem(const PtrStr& k, const VALUE& v)
        : owned(k.p ? std::string(k.p, static_cast<size_t>(k.len)) : std::string()),
          key(k),
          value(v) {}

    std::string owned;  // a copy of the key's units, made when the item is built
    PtrStr key;         // the key as given; comparisons use it
    VALUE value;
};

// terminatedKeys: keys are terminated texts; a key length of -1 then selects the
// terminated comparison. Off in the library's own sets.
template <class ITEM, bool terminatedKeys = false, class ALLOC = sys_allocator_traits>
class QuickStringSet : public SmartArray<ITEM, 0, ALLOC> {
    typedef SmartArray<ITEM, 0, ALLOC> Base;
    typedef decltype(ITEM::value) Value;

public:
    using Base::operator[];

    explicit QuickStringSet(QuickStringCompare compare = nullptr, void* userWord = nullptr,
                            const ALLOC& alloc = ALLOC())
        : Base(alloc), compare_(compare), userWord_(userWord) {}
    QuickStringSet(const QuickStringSet& r)
        : Base(r), compare_(r.compare_), userWord_(r.userWord_) {}
    QuickStringSet& operator=(const QuickStringSet& r) {
        Base::operator=(r);
        compare_ = r.compare_;
        userWord_ = r.userWord_;
        return *this;
    }

    // A key that breaks the length rules is reported and then taken as measured
    // (a negative length with a text) or as empty.
    int CompareKeys(const char* left, int32_t left_len, const char* right,
                    int32_t right_len) const {
        if (left_len < 0 && right_len < 0) {
            QDR_CHECK(left && right);
            if (!left || !right) return (left ? 1 : 0) - (right ? 1 : 0);
            if (left == right) return 0;
            if (compare_) return compare_(userWord_, left, -1, right, -1);
            return strcmp(left, right);
        }
        QDR_CHECK(left_len >= 0 && right_len >= 0);
        QDR_CHECK((0==left_len || left) && (0==right_len || right));
        left_len = SaneLength(left, left_len);
        right_len = SaneLength(right, right_len);
        if (left == right && left_len == right_len) return 0;
        if (compare_) return compare_(userWord_, left, left_len, right, right_len);
        const int32_t m = left_len < right_len ? left_len : right_len;
        if (m >= 16) {
            const int r = memcmp(left, right, static_cast<size_t>(m));
            if (r != 0 || left_len == right_len) return r;
            return left_len < right_len ? -1 : 1;
        }
        for (int32_t i = 0; i < m; ++i) {
            const signed char a = static_cast<signed char>(left[i]);
            const signed char b = static_cast<signed char>(right[i]);
            if (a != b) return a < b ? -1 : 1;
        }
        return left_len < right_len ? -1 : (left_len > right_len ? 1 : 0);
    }

    // Index of the first item with an equal key, or -1. `pos` (may be null) receives
    // where the key belongs: behind the run of equal keys when found, else the
    // insertion point (0 on an empty set, size() behind the last item).
    int32_t FindKey(const char* key, int32_t key_len, int32_t* pos) const {
        const bool terminated = terminatedKeys && key_len < 0;
        if (terminated) {
            QDR_CHECK(key);
        } else {
            if (key_len < 0 && key) key_len = TextLength(key);
            QDR_CHECK(key_len >= 0);
            QDR_CHECK(0==key_len || key);
        }
        if (!key && key_len != 0) {
            if (pos) *pos = 0;
            return -1;
        }
        const ITEM* items = this->p_;
        int32_t head = 0;
        int32_t tail = this->size() - 1;
        int32_t last = 0;
        int32_t mid = 0;
        bool equal = false;
        while (head <= tail) {
            mid = (head + tail) / 2;
            const int c = CompareToItem(key, key_len, items[mid], terminated);
            if (c < 0) {
                tail = mid - 1;
                last = -1;
            } else if (c > 0) {
                head = mid + 1;
                last = 1;
            } else {
                equal = true;
                break;
            }
        }
        if (!equal) {
            if (pos) *pos = this->size() == 0 ? 0 : (last < 1 ? mid : mid + 1);
            return -1;
        }
        int32_t found = mid;
        while (found > head && !(CompareToItem(key, key_len, items[found - 1], terminated) > 0))
            --found;
        if (pos) {
            while (mid <= tail && !(CompareToItem(key, key_len, items[mid], terminated) < 0)) ++mid;
            *pos = mid;
        }
        QDR_CHECK(head <= found && found <= tail);
        return found;
    }

    ITEM* find(const char* key, int32_t key_len) const {
        const int32_t found = FindKey(key, key_len, nullptr);
        return found < 0 ? this->end() : this->p_ + found;
    }

    // An item with an equal key wins: the set is unchanged and the result is
    // (that item, false).
    std::pair<ITEM*, bool> insert(const ITEM& item) {
        int32_t pos = 0;
        const int32_t found = FindKey(item.key.p, ItemKeyLength(item), &pos);
        if (found >= 0) return std::make_pair(this->p_ + found, false);
        if (!this->InsertAt(pos, item)) {
            QDR_CHECK(false);
            return std::make_pair(this->end(), false);
        }
        return std::make_pair(this->p_ + pos, true);
    }

    // The value of `key`, inserted with an empty value if absent. Should the
    // insertion fail (an allocation whose report was ignored), the reference is to
    // a scratch value that belongs to no item.
    Value& operator[](const PtrStr& key) {
        int32_t pos = 0;
        const int32_t found = FindKey(key.p, terminatedKeys ? -1 : key.len, &pos);
        if (found >= 0) return this->p_[found].value;
        if (!this->InsertAt(pos, ITEM(key, Value()))) {
            QDR_CHECK(false);
            static thread_local Value scratch;
            scratch = Value();
            return scratch;
        }
        return this->p_[pos].value;
    }

private:
    static int32_t SaneLength(const char* s, int32_t len) {
        if (len < 0) return s ? TextLength(s) : 0;
        return s ? len : 0;
    }
    static int32_t ItemKeyLength(const ITEM& item) { return terminatedKeys ? -1 : item.key.len; }

    int CompareToItem(const char* key, int32_t key_len, const ITEM& item, bool terminated) const {
        return CompareKeys(key, key_len, item.key.p, terminated ? -1 : item.key.len);
    }

    QuickStringCompare compare_;
    void* userWord_;
};

// The library's two sets: key to text, and key to a set of the first kind (the
// sections of a configuration file).
typedef QuickStringSet<QuickStringItem<PtrStr>> QuickStringValues;
typedef QuickStringSet<QuickStringItem<QuickStringValues>> QuickStringSections;
