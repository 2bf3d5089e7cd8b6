// Accessors: one interface over a terminated text, a counted text and a counted text
// walked backward, so that a template such as SplitText is written once for all.
// An accessor gives begin(), IsEnd(it) and Piece(it, count), the address of the
// `count` units that start at `it` in walking order; its iterator reads a unit with
// *it, advances with += and measures with -.
//
// The counted accessors hand out iterators that know their owner, so that an
// iterator of one text used on another, read at the end or moved past it is reported.
// After such a report a read gives 0 and a move stops at the end.
#pragma once

#include <cstdint>

#include "ptrstr.h"

// A terminated text; the end is the unit 0. A null text is reported and read as "".
template <class CHAR>
class ZStrAccessor {
public:
    typedef const CHAR* iterator;

    explicit ZStrAccessor(const CHAR* s) : s_(s), zero_(0) {
        QDR_CHECK(AfxIsValidString(s));
        if (!s_) s_ = &zero_;
    }
    ZStrAccessor(const ZStrAccessor&) = delete;
    ZStrAccessor& operator=(const ZStrAccessor&) = delete;

    iterator begin() const { return s_; }
    bool IsEnd(iterator it) const { return *it == 0; }
    const CHAR* Piece(iterator it, int32_t) const { return it; }

private:
    const CHAR* s_;
    CHAR zero_;
};

// A counted text, forward or (reverse) from the last unit to the first. Going
// backward, a piece of n units at offset o lies at s + len - o - n in memory:
//   "abc" reversed: *begin() = 'c'; Piece(begin(), 2) -> "bc"
template <class CHAR, bool reverse>
class CountedStrAccessor {
public:
    struct iterator {
        CHAR operator*() const {
            // The report shows these expressions as written.
            QDR_CHECK(owner_ && 0<=offset_ && offset_<owner_->len_);
            if (!owner_ || offset_ < 0 || offset_ >= owner_->len_) return 0;
            return owner_->UnitAt(offset_);
        }
        iterator& operator+=(int32_t n) {
            QDR_CHECK(owner_ && 0<=offset_ && offset_<owner_->len_);
            if (!owner_) return *this;
            offset_ += n;
            QDR_CHECK(0<=offset_ && offset_<=owner_->len_);
            if (offset_ < 0) offset_ = 0;
            if (offset_ > owner_->len_) offset_ = owner_->len_;
            return *this;
        }
        int32_t operator-(const iterator& r) const {
            QDR_CHECK(owner_ && owner_==r.owner_);
            return offset_ - r.offset_;
        }

        const CountedStrAccessor* owner_;
        int32_t offset_;
    };

    // Forward: (0, 0) or a valid text of l >= 0 units. Backward: a non-null text.
    // A text that breaks the rule is reported and read as empty.
    CountedStrAccessor(const CHAR* s, int32_t l) : s_(s), len_(l) {
        QDR_CHECK(l >= 0);
        if (reverse)
            QDR_CHECK(s);
        else
            QDR_CHECK((0 == s && 0 == l) || AfxIsValidString(s, l));
        if (!s || l < 0) len_ = 0;
    }
    CountedStrAccessor(const CountedStrAccessor&) = delete;
    CountedStrAccessor& operator=(const CountedStrAccessor&) = delete;

    iterator begin() const { return iterator{this, 0}; }
    bool IsEnd(const iterator& it) const {
        QDR_CHECK(it.owner_==this);
        return it.offset_ >= len_;
    }
    const CHAR* Piece(const iterator& it, int32_t count) const {
        QDR_CHECK(it.owner_==this);
        return reverse ? s_ + (len_ - it.offset_ - count) : s_ + it.offset_;
    }

private:
    CHAR UnitAt(int32_t offset) const { return reverse ? s_[len_ - 1 - offset] : s_[offset]; }

    const CHAR* s_;
    int32_t len_;
};

template <class CHAR>
using StrAccessor = CountedStrAccessor<CHAR, false>;
template <class CHAR>
using ReverseStrAccessor = CountedStrAccessor<CHAR, true>;
