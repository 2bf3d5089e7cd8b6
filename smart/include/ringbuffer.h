// RingBuffer: a byte ring that keeps a moving window of a longer stream. Every byte
// held has a 64-bit offset in that stream; bytes are pushed and erased at both
// ends. All access is two-phase: a begin step hands out up to two pieces of the
// array (the area may wrap around its end) and changes the counters, an end step
// closes the phase. Nothing is copied in a begin step.
//
//   RingBuffer r(8);  r.PushBack("abcdef", 6, false, false);  r.EraseFront(4, false);
//   // BeginByteOffset 4, EndByteOffset 6; PushBack("wxyz") wraps: "ef" then "wxyz"
#pragma once

#include <cstdint>

// Asked before bytes are erased: (param, stream offset of the first erased byte,
// count); false refuses the erase.
typedef bool (*RingEraseCallback)(void* param, int64_t offset, int bytes);

class RingBuffer {
public:
    enum State { kIdle = 0, kPushBackOpen = 1, kPushFrontOpen = 2, kReadOpen = 3, kWriteOpen = 4 };

    // A ring whose allocation fails has a total size of 0 and refuses every push.
    explicit RingBuffer(int total_size, RingEraseCallback erase_cb = nullptr,
                        void* erase_cb_param = nullptr);
    ~RingBuffer();
    RingBuffer(const RingBuffer&) = delete;
    RingBuffer& operator=(const RingBuffer&) = delete;

    // With overwrite, the oldest (push back) or the newest (push front) bytes make
    // way for the new ones; `callBack` lets the erase callback be asked.
    bool BeginPushBack(int bytes, bool overwrite, unsigned char** buf1, unsigned char** buf2,
                       int* len1, bool callBack);
    bool CommitPushBack();
    // buf1 receives the last len1 bytes of what is pushed, buf2 the first part.
    bool BeginPushFront(int bytes, bool overwrite, unsigned char** buf1, unsigned char** buf2,
                        int* len1, bool callBack);
    bool CommitPushFront();
    // [offset, offset + bytes) must lie within the ring; false otherwise.
    bool BeginRead(int64_t offset, int bytes, unsigned char** buf1, unsigned char** buf2,
                   int* len1);
    bool FinishRead();
    bool BeginWrite(int64_t offset, int bytes, unsigned char** buf1, unsigned char** buf2,
                    int* len1);
    bool FinishWrite();

    bool PushBack(const void* data, int bytes, bool overwrite, bool callBack);
    bool PushFront(const void* data, int bytes, bool overwrite, bool callBack);
    // Pushes without copying: the area keeps what the array held.
    bool PushBackGap(int bytes, bool overwrite, bool callBack);
    bool PushFrontGap(int bytes, bool overwrite, bool callBack);
    bool Read(int64_t offset, void* buf, int bytes);
    bool Write(int64_t offset, const void* data, int bytes);
    bool PopBack(void* buf, int bytes, bool callBack);
    bool PopFront(void* buf, int bytes, bool callBack);
    bool EraseBack(int bytes, bool callBack);
    bool EraseFront(int bytes, bool callBack);

    int GetSize() const { return m_size; }
    int GetTotalSize() const { return m_total_size; }
    int GetState() const { return m_state; }
    int64_t BeginByteOffset() const { return m_first_byte_offset; }
    int64_t EndByteOffset() const { return m_first_byte_offset + m_size; }
    void SetBeginByteOffset(int64_t offset) { m_first_byte_offset = offset; }

private:
    bool MakeRoom(int bytes, bool overwrite, bool atBack, bool callBack);
    // The pieces of `bytes` bytes from array index `pos`, wrapping once.
    void Pieces(int pos, int bytes, unsigned char** buf1, unsigned char** buf2, int* len1);
    bool BeginAccess(int64_t offset, int bytes, unsigned char** buf1, unsigned char** buf2,
                     int* len1, State state);
    bool EndPhase(State state);

    int m_state;
    int m_total_size;
    unsigned char* m_buffer;
    int m_first_byte_pos;
    int m_size;
    int64_t m_first_byte_offset;
    RingEraseCallback m_erase_cb;
    void* m_erase_cb_param;
};
