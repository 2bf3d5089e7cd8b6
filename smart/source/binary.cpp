#include "binary.h"

bool Binary::RefusedAsFixed() const {
    if (!IsFixed()) return false;
    QDR_CHECK(false);
    return true;
}

// Where SetLength and Set go alike: a fixed block refuses, a length below 1 is the
// shared empty entity, anything else the private block (0 if it could not be made).
Binary::Block* Binary::PrepareWrite(int32_t len, bool* result) {
    *result = false;
    if (RefusedAsFixed()) return nullptr;
    if (len < 1) {
        ToEmpty();
        *result = true;
        return nullptr;
    }
    return GetWritable();
}

unsigned char* Binary::Get() {
    if (RefusedAsFixed()) return nullptr;
    Block* block = GetWritable();
    return block ? block->Get() : nullptr;
}

bool Binary::SetLength(int32_t len, bool keep) {
    QDR_CHECK(len >= 0);
    if (len < 0) return false;
    if (len == Size()) return true;
    bool result;
    Block* block = PrepareWrite(len, &result);
    return block ? block->Resize(len, keep) : result;
}

bool Binary::Clear() {
    if (RefusedAsFixed()) return false;
    ToEmpty();
    return true;
}

bool Binary::Set(const void* data, int32_t len) {
    // The report shows this expression as written.
    QDR_CHECK(data && len>=0);
    if (!data || len < 0) return false;
    bool result;
    Block* block = PrepareWrite(len, &result);
    return block ? block->Assign(data, len) : result;
}

bool Binary::Attach(void* data, int32_t bytes, uint32_t mode) {
    QDR_CHECK(data && bytes > 0);
    if (!data || bytes <= 0) return false;
    Block* block = Renew();
    return block && block->Attach(data, bytes, mode);
}
