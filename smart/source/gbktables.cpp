// Decodes the code page 936 data (see tools/gen_gbk_tables.py for its encoding)
// into row tables: a lookup is then two indexed loads.
#include "gbktables.h"

#include <cstring>

#include "gbkdata.h"
#include "qdr/qdassert.h"

namespace {

const int kFirstLead = 0x81, kRows = 126, kFirstTrail = 0x40, kTrails = 191;
const int kMaxReverseRows = 103;

int Digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    if (c >= 'a' && c <= 'z') return c - 'a' + 36;
    return c == '+' ? 62 : 63;
}

int Number(const char* p) {
    return Digit(p[0]) << 12 | Digit(p[1]) << 6 | Digit(p[2]);
}

class Builder : public GbkTables {
public:
    Builder() {
        memset(static_cast<GbkTables*>(this), 0, sizeof(GbkTables));
        memset(forwardRows_, 0, sizeof(forwardRows_));
        memset(reverseRows_, 0, sizeof(reverseRows_));
        for (int row = 0; row < kRows; ++row) forward[kFirstLead + row] = forwardRows_[row];
        DecodeForward();
        for (const char* p = kGbkBestFit; *p; p += 6) {
            const int mb = Number(p + 3);
            AddReverse(Number(p), mb >> 8, mb & 0xFF);
        }
    }

private:
    void DecodeForward() {
        int slot = 0, value = 0;
        auto put = [&](int v) {
            const int lead = kFirstLead + slot / kTrails, trail = kFirstTrail + slot % kTrails;
            forwardRows_[lead - kFirstLead][trail] = static_cast<uint16_t>(v);
            if (v) AddReverse(v, lead, trail);
            ++slot;
        };
        for (const char* p = kGbkForward; *p && slot < kRows * kTrails;) {
            if (*p == '.' || *p == '~') {
                const bool run = *p == '~';
                for (int n = Digit(p[1]) + 1; n > 0 && slot < kRows * kTrails; --n)
                    put(run ? ++value : 0);
                p += 2;
            } else {
                value = Number(p);
                put(value);
                p += 3;
            }
        }
        QDR_CHECK(slot == kRows * kTrails);
    }

    void AddReverse(int code, int lead, int trail) {
        const int high = code >> 8;
        if (!writable_[high]) {
            QDR_CHECK_OR_RETURN(usedRows_ < kMaxReverseRows);
            reverse[high] = writable_[high] = reverseRows_[usedRows_++];
        }
        writable_[high][code & 0xFF][0] = static_cast<uint8_t>(lead);
        writable_[high][code & 0xFF][1] = static_cast<uint8_t>(trail);
    }

    uint16_t forwardRows_[kRows][256];
    uint8_t reverseRows_[kMaxReverseRows][256][2];
    uint8_t (*writable_[256])[2] = {};
    int usedRows_ = 0;
};

}  // namespace

const GbkTables& GetGbkTables() {
    static const Builder tables;
    return tables;
}
