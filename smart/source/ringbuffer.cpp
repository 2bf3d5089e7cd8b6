// RingBuffer: see ringbuffer.h. The data counters change in the begin steps; an end
// step only closes the phase.
#include "ringbuffer.h"

#include <cstring>
#include <new>

#include "qdr/qdassert.h"
#include "qdr/qdfill.h"

RingBuffer::RingBuffer(int total_size, RingEraseCallback erase_cb, void* erase_cb_param)
    : m_state(kIdle),
      m_total_size(0),
      m_buffer(nullptr),
      m_first_byte_pos(0),
      m_size(0),
      m_first_byte_offset(0),
      m_erase_cb(erase_cb),
      m_erase_cb_param(erase_cb_param) {
    QDR_CHECK(total_size > 0);
    if (total_size <= 0) return;
    m_buffer = new (std::nothrow) unsigned char[total_size];
    if (m_buffer) m_total_size = total_size;
}

RingBuffer::~RingBuffer() {
    if (m_buffer) {
        FillDestroyed(m_buffer, static_cast<size_t>(m_total_size));
        delete[] m_buffer;
    }
    FillDestroyed(this, sizeof(*this));
}

bool RingBuffer::MakeRoom(int bytes, bool overwrite, bool atBack, bool callBack) {
    if (m_state != kIdle) QDR_CHECK_OR_RETURN(false, false);
    QDR_CHECK_OR_RETURN(bytes >= 0, false);
    const int room = m_total_size - m_size;
    if (overwrite) {
        QDR_CHECK_OR_RETURN(bytes <= m_total_size, false);
        // The oldest bytes make way for a push at the back, the newest for one at
        // the front.
        if (bytes > room)
            return atBack ? EraseFront(bytes - room, callBack) : EraseBack(bytes - room, callBack);
        return true;
    }
    if (bytes > room) QDR_CHECK_OR_RETURN(false, false);
    return true;
}

void RingBuffer::Pieces(int pos, int bytes, unsigned char** buf1, unsigned char** buf2, int* len1) {
    const int si = bytes < m_total_size - pos ? bytes : m_total_size - pos;
    *len1 = si;
    *buf1 = m_buffer + pos;
    if (si == bytes) {
        *buf2 = nullptr;
        return;
    }
    QDR_CHECK(pos+si == m_total_size);
    *buf2 = m_buffer;
}

bool RingBuffer::BeginPushBack(int bytes, bool overwrite, unsigned char** buf1,
                               unsigned char** buf2, int* len1, bool callBack) {
    if (!MakeRoom(bytes, overwrite, true, callBack)) return false;
    m_state = kPushBackOpen;
    int pos = m_first_byte_pos + m_size;
    if (pos >= m_total_size) pos -= m_total_size;
    Pieces(pos, bytes, buf1, buf2, len1);
    m_size += bytes;
    return true;
}

bool RingBuffer::BeginPushFront(int bytes, bool overwrite, unsigned char** buf1,
                                unsigned char** buf2, int* len1, bool callBack) {
    if (!MakeRoom(bytes, overwrite, false, callBack)) return false;
    m_state = kPushFrontOpen;
    QDR_CHECK(0 <= m_first_byte_pos && m_first_byte_pos < m_total_size);
    // Pushing 0 bytes here leaves the position at m_total_size; callers don't.
    if (0 == m_first_byte_pos) m_first_byte_pos = m_total_size;
    const int si = bytes < m_first_byte_pos ? bytes : m_first_byte_pos;
    *len1 = si;
    m_first_byte_pos -= si;
    *buf1 = m_buffer + m_first_byte_pos;
    if (bytes > si) {
        QDR_CHECK(0 == m_first_byte_pos);
        m_first_byte_pos = m_total_size - (bytes - si);
        *buf2 = m_buffer + m_first_byte_pos;
        QDR_CHECK(0<m_first_byte_pos && m_first_byte_pos<m_total_size);
    } else {
        *buf2 = nullptr;
    }
    m_first_byte_offset -= bytes;
    m_size += bytes;
    return true;
}

bool RingBuffer::BeginAccess(int64_t offset, int bytes, unsigned char** buf1, unsigned char** buf2,
                             int* len1, State state) {
    if (m_state != kIdle) QDR_CHECK_OR_RETURN(false, false);
    if (bytes < 0) return false;
    if (offset < BeginByteOffset() || offset + bytes > EndByteOffset()) return false;
    int pos = m_first_byte_pos + static_cast<int>(offset - BeginByteOffset());
    if (pos >= m_total_size) pos -= m_total_size;
    m_state = state;
    Pieces(pos, bytes, buf1, buf2, len1);
    return true;
}

bool RingBuffer::BeginRead(int64_t offset, int bytes, unsigned char** buf1, unsigned char** buf2,
                           int* len1) {
    return BeginAccess(offset, bytes, buf1, buf2, len1, kReadOpen);
}

bool RingBuffer::BeginWrite(int64_t offset, int bytes, unsigned char** buf1, unsigned char** buf2,
                            int* len1) {
    return BeginAccess(offset, bytes, buf1, buf2, len1, kWriteOpen);
}

bool RingBuffer::EndPhase(State state) {
    QDR_CHECK_OR_RETURN(state == m_state, false);
    m_state = kIdle;
    return true;
}

bool RingBuffer::CommitPushBack() {
    return EndPhase(kPushBackOpen);
}
bool RingBuffer::CommitPushFront() {
    return EndPhase(kPushFrontOpen);
}
bool RingBuffer::FinishRead() {
    return EndPhase(kReadOpen);
}
bool RingBuffer::FinishWrite() {
    return EndPhase(kWriteOpen);
}

bool RingBuffer::EraseBack(int bytes, bool callBack) {
    if (bytes < 0 || bytes > m_size || m_state != kIdle) QDR_CHECK_OR_RETURN(false, false);
    if (callBack && m_erase_cb && !m_erase_cb(m_erase_cb_param, EndByteOffset() - bytes, bytes))
        return false;
    m_size -= bytes;
    return true;
}

bool RingBuffer::EraseFront(int bytes, bool callBack) {
    if (bytes < 0 || bytes > m_size || m_state != kIdle) QDR_CHECK_OR_RETURN(false, false);
    if (callBack && m_erase_cb && !m_erase_cb(m_erase_cb_param, BeginByteOffset(), bytes))
        return false;
    m_size -= bytes;
    m_first_byte_pos += bytes;
    if (m_first_byte_pos >= m_total_size) m_first_byte_pos -= m_total_size;
    m_first_byte_offset += bytes;
    return true;
}

namespace {

// Copies between a flat buffer and the two pieces of a ring area.
void CopyIn(unsigned char* buf1, unsigned char* buf2, int len1, const void* data, int bytes) {
    QDR_CHECK(buf1 && 0<=len1 && len1<=bytes);
    if (len1 > 0) memcpy(buf1, data, static_cast<size_t>(len1));
    if (len1 < bytes) {
        QDR_CHECK(buf2);
        memcpy(buf2, static_cast<const unsigned char*>(data) + len1,
               static_cast<size_t>(bytes - len1));
    }
}

void CopyOut(const unsigned char* buf1, const unsigned char* buf2, int len1, void* buf, int bytes) {
    QDR_CHECK(buf1 && 0<=len1 && len1<=bytes);
    if (len1 > 0) memcpy(buf, buf1, static_cast<size_t>(len1));
    if (len1 < bytes) {
        QDR_CHECK(buf2);
        memcpy(static_cast<unsigned char*>(buf) + len1, buf2, static_cast<size_t>(bytes - len1));
    }
}

}  // namespace

bool RingBuffer::PushBack(const void* data, int bytes, bool overwrite, bool callBack) {
    unsigned char *buf1, *buf2;
    int len1;
    if (!BeginPushBack(bytes, overwrite, &buf1, &buf2, &len1, callBack)) return false;
    CopyIn(buf1, buf2, len1, data, bytes);
    return CommitPushBack();
}

bool RingBuffer::PushFront(const void* data, int bytes, bool overwrite, bool callBack) {
    unsigned char *buf1, *buf2;
    int len1;
    if (!BeginPushFront(bytes, overwrite, &buf1, &buf2, &len1, callBack)) return false;
    // The data's tail goes to buf1, its head to buf2.
    const unsigned char* from = static_cast<const unsigned char*>(data);
    QDR_CHECK(buf1 && 0<=len1 && len1<=bytes);
    if (len1 > 0) memcpy(buf1, from + (bytes - len1), static_cast<size_t>(len1));
    if (len1 < bytes) {
        QDR_CHECK(buf2);
        memcpy(buf2, from, static_cast<size_t>(bytes - len1));
    }
    return CommitPushFront();
}

bool RingBuffer::PushBackGap(int bytes, bool overwrite, bool callBack) {
    unsigned char *buf1, *buf2;
    int len1;
    return BeginPushBack(bytes, overwrite, &buf1, &buf2, &len1, callBack) && CommitPushBack();
}

bool RingBuffer::PushFrontGap(int bytes, bool overwrite, bool callBack) {
    unsigned char *buf1, *buf2;
    int len1;
    return BeginPushFront(bytes, overwrite, &buf1, &buf2, &len1, callBack) && CommitPushFront();
}

bool RingBuffer::Read(int64_t offset, void* buf, int bytes) {
    unsigned char *buf1, *buf2;
    int len1;
    if (!BeginRead(offset, bytes, &buf1, &buf2, &len1)) return false;
    CopyOut(buf1, buf2, len1, buf, bytes);
    return FinishRead();
}

bool RingBuffer::Write(int64_t offset, const void* data, int bytes) {
    unsigned char *buf1, *buf2;
    int len1;
    if (!BeginWrite(offset, bytes, &buf1, &buf2, &len1)) return false;
    CopyIn(buf1, buf2, len1, data, bytes);
    return FinishWrite();
}

bool RingBuffer::PopBack(void* buf, int bytes, bool callBack) {
    return Read(EndByteOffset() - bytes, buf, bytes) && EraseBack(bytes, callBack);
}

bool RingBuffer::PopFront(void* buf, int bytes, bool callBack) {
    return Read(BeginByteOffset(), buf, bytes) && EraseFront(bytes, callBack);
}
