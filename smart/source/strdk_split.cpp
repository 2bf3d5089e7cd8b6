// SplitStrByCallback: the split at several separators of any length.
#include "strdk_split.h"

#include "strdk_internal.h"

namespace {

// The separators of one split with their next tables, built once, and for each the
// position where it was last found, so that a separator is searched again only when
// the split has passed it.
template <class TCHAR>
class SeparatorList {
public:
    SeparatorList(const TCHAR* sepStr, int sepLen, TCHAR sepOfSeps, int flags)
        : tables_(0), found_(0), flags_(flags) {
        if (sepOfSeps)
            SplitStr(seps_, sepStr, sepOfSeps, sepLen);
        else
            seps_.push_back(PtrStrT<TCHAR>(sepStr, sepLen));
        int units = 0;
        for (const PtrStrT<TCHAR>& sep : seps_) units += sep.len;
        tables_.Resize(units);
        found_.Resize(seps_.size());
        if (!Valid()) return;
        int* table = tables_.Get();
        for (int k = 0; k < seps_.size(); ++k) {
            table += BuildNextTable(table, seps_[k].p, seps_[k].len, flags_);
            found_[k] = kUnknown;
        }
    }

    int Count() const { return seps_.size(); }
    bool Valid() const { return tables_.Get() && found_.Get(); }
    int Length(int k) const { return seps_[k].len; }

    // The separator that occurs first at or after `pos` (the first listed on a tie),
    // with its position in *at; -1 when none is left.
    int FindEarliest(const TCHAR* str, int strLen, int pos, int* at) {
        int best = -1;
        const int* table = tables_.Get();
        for (int k = 0; k < seps_.size(); table += seps_[k++].len) {
            // A whole-word test depends on where the search starts, so it searches anew.
            int found = found_[k];
            if (found == kUnknown || (found >= 0 && found < pos) || (flags_ & msf_whole_word)) {
                const int idx = FindStrIndex(str + pos, seps_[k].p, strLen - pos, seps_[k].len,
                                             flags_, nullptr, table);
                found = found_[k] = idx < 0 ? -1 : pos + idx;
            }
            if (found >= 0 && (best < 0 || found < *at)) {
                best = k;
                *at = found;
            }
        }
        return best;
    }

private:
    static constexpr int kUnknown = -2;

    SmartArray<PtrStrT<TCHAR>, 16> seps_;
    SmartBuf<int, 1024> tables_;
    SmartBuf<int, 16> found_;
    int flags_;
};

}  // namespace

template <class TCHAR>
void SplitStrByCallback(SplitStrCallback<TCHAR> cbFn, void* param, const TCHAR* str,
                        const NonDeduced<TCHAR>* sepStr_, NonDeduced<TCHAR> sepOfSeps, int strLen,
                        int sepLen_, int mode, int flags) {
    QDR_CHECK(cbFn && sepStr_);
    QDR_CHECK(0 <= mode && mode <= 2);
    QDR_CHECK(str || strLen <= 0);
    if (!cbFn || !sepStr_ || mode < 0 || mode > 2 || !str) return;
    sepLen_ = MeasureIfNegative(sepStr_, sepLen_);
    if (sepLen_ < 1) {
        QDR_CHECK(false);
        return;
    }
    SeparatorList<TCHAR> seps(sepStr_, sepLen_, sepOfSeps, flags & ~(msf_wildcards | msf_reverse));
    if (seps.Count() == 0) {
        QDR_CHECK(false);
        return;
    }
    if (!seps.Valid()) return;
    strLen = MeasureIfNegative(str, strLen);

    for (int pos = 0;;) {
        int at = 0;
        const int k = seps.FindEarliest(str, strLen, pos, &at);
        if (k < 0) {
            if (strLen > pos) cbFn(param, str + pos, strLen - pos, 0);
            return;
        }
        const int l = at - pos, sepLen = seps.Length(k);
        bool goOn = true;
        if (l > 0)
            goOn = cbFn(param, str + pos, mode == 1 ? l + sepLen : l, 0);
        else if (mode == 1)
            goOn = cbFn(param, str + pos, sepLen, 1);
        else if (mode == 2)
            goOn = cbFn(param, str + at + sepLen, 0, 0);
        if (!goOn) return;
        pos = at + sepLen;
    }
}

template void SplitStrByCallback<char>(SplitStrCallback<char>, void*, const char*, const char*,
                                       char, int, int, int, int);
template void SplitStrByCallback<char16_t>(SplitStrCallback<char16_t>, void*, const char16_t*,
                                           const char16_t*, char16_t, int, int, int, int);
