// Allocators of the smart containers.
//
// sys_allocator_traits is the bottom of the stack: an empty object whose malloc and
// free go straight to the C library; it is the heap of SmartBuf and SmartArray.
//
// BlockAllocator is a pool of equal blocks for the ordered containers, which ask for
// one small node at a time. Blocks come from chunks of chunkBytes, linked into one
// doubly linked free list across all chunks; a chunk goes back to the heap the moment
// its last block comes back. The first stackNodes blocks live inside the pool object,
// so a small container needs no chunk at all. Each block carries a header of three
// pointers (12 bytes on a 32-bit build, 24 on a 64-bit one).
//
// WrapperAllocator puts one pool on the heap behind a counted entity, so that all the
// rebound copies of a container's allocator share it (qd_allocator.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "qdr/qdassert.h"
#include "qdr/qdfill.h"

struct sys_allocator_traits {
    void* malloc(size_t bytes) { return ::malloc(bytes); }
    void free(void* block) { ::free(block); }
};

template <int blockBytes, int stackNodes, class traits = sys_allocator_traits,
          int chunkBytes = 4096>
class BlockAllocator {
public:
    // A chunk header, followed by its nodes.
    struct Chunk {
        Chunk* prev;
        Chunk* next;
        int32_t freeNodes;  // how many of its nodes are on the free list
    };
    // A node header, followed directly by the caller's block; no padding between nodes.
    struct Node {
        Node* prev;  // 0 at the head of the free list and while allocated
        Node* next;
        Chunk* chunk;  // the owner, kept while the block is in use
    };

    static constexpr int kBlockBytes = blockBytes;
    static constexpr int kNodeStride = blockBytes + static_cast<int>(sizeof(Node));
    static constexpr int kNodesOfChunk =
        (chunkBytes - static_cast<int>(sizeof(Chunk))) / kNodeStride;

    static_assert(blockBytes > 0, "blockBytes must be positive");
    static_assert(blockBytes % alignof(void*) == 0,
                  "blockBytes must keep the next node header aligned");
    static_assert(stackNodes >= 0, "stackNodes must not be negative");
    static_assert(kNodesOfChunk >= 1, "a chunk must hold at least one node");

    explicit BlockAllocator(const traits& t = traits())
        : m_traits(t),
          m_chunkBytes(chunkBytes),
          m_nodesOfChunk(kNodesOfChunk),
          m_headChunk(nullptr),
          m_free(nullptr),
          m_stackChunk(stackNodes > 0 ? reinterpret_cast<Chunk*>(m_stackRoom) : nullptr),
          m_initialized(0) {}

    // Every block must be back. A heap chunk that is still out is reported and then
    // released all the same, so that the report is the only trace of the leak; a
    // block that its holder still uses is then invalid, as its pool is gone.
    ~BlockAllocator() {
        QDR_CHECK(0 == m_headChunk);
        if (m_initialized) {
            if (m_stackChunk) {
                // The report shows these expressions as written.
                QDR_CHECK(m_free && m_free->chunk==m_stackChunk);
                QDR_CHECK(m_stackChunk->freeNodes == stackNodes);
            } else {
                QDR_CHECK(0 == m_free);
            }
        }
        while (m_headChunk) {
            Chunk* chunk = m_headChunk;
            m_headChunk = chunk->next;
            m_traits.free(chunk);
        }
        FillDestroyed(&m_free, sizeof(m_free));
        FillDestroyed(m_stackRoom, sizeof(m_stackRoom));
    }

    BlockAllocator(const BlockAllocator&) = delete;
    BlockAllocator& operator=(const BlockAllocator&) = delete;

    // A block of up to blockBytes, or 0: a larger (or negative) request is reported,
    // a chunk that the heap refuses is not.
    void* Allocate(int32_t bytes) {
        if (!m_initialized) Initialize();
        if (bytes > blockBytes) {
            QDR_CHECK(false);
            return nullptr;
        }
        QDR_CHECK(bytes >= 0);
        if (bytes < 0) return nullptr;
        if (!m_free && !AddChunk()) return nullptr;
        Node* node = m_free;
        Chunk* chunk = node->chunk;
        QDR_CHECK(chunk && chunk->freeNodes > 0);
        if (chunk != m_stackChunk) QDR_CHECK(chunk->freeNodes <= m_nodesOfChunk);
        if (chunk) --chunk->freeNodes;
        Unlink(node);
        return reinterpret_cast<unsigned char*>(node) + sizeof(Node);
    }

    // The last block freed is the next one given out. The block's chunk field is
    // trusted: a block from elsewhere cannot be detected.
    void Deallocate(void* block) {
        if (!m_initialized) Initialize();
        QDR_CHECK_OR_RETURN(block);
        Node* node = reinterpret_cast<Node*>(static_cast<unsigned char*>(block) - sizeof(Node));
        PushFree(node);
        Chunk* chunk = node->chunk;
        QDR_CHECK(chunk && chunk->freeNodes >= 0);
        if (!chunk) return;
        ++chunk->freeNodes;
        if (chunk == m_stackChunk || chunk->freeNodes != m_nodesOfChunk) return;
        // Wholly free: its nodes leave the free list and the chunk goes to the heap.
        for (int i = m_nodesOfChunk - 1; i >= 0; --i) Unlink(NodeAt(chunk, i));
        if (chunk->prev)
            chunk->prev->next = chunk->next;
        else
            m_headChunk = chunk->next;
        if (chunk->next) chunk->next->prev = chunk->prev;
        m_traits.free(chunk);
    }

    // For tests and diagnostics.
    const Chunk* HeadChunk() const { return m_headChunk; }
    const Chunk* StackChunk() const { return m_stackChunk; }
    const Node* FreeList() const { return m_free; }
    int32_t NodesOfChunk() const { return m_nodesOfChunk; }

private:
    Node* NodeAt(Chunk* chunk, int index) {
        return reinterpret_cast<Node*>(reinterpret_cast<unsigned char*>(chunk) + sizeof(Chunk) +
                                       static_cast<size_t>(index) * kNodeStride);
    }

    void PushFree(Node* node) {
        node->prev = nullptr;
        node->next = m_free;
        if (m_free) m_free->prev = node;
        m_free = node;
    }

    void Unlink(Node* node) {
        if (node->prev)
            node->prev->next = node->next;
        else
            m_free = node->next;
        if (node->next) node->next->prev = node->prev;
        node->prev = nullptr;
        node->next = nullptr;
    }

    // Pushed from the last node to the first, so the list ascends in address.
    void LinkNodes(Chunk* chunk, int count) {
        chunk->freeNodes = count;
        for (int i = count - 1; i >= 0; --i) {
            Node* node = NodeAt(chunk, i);
            node->chunk = chunk;
            PushFree(node);
        }
    }

    void Initialize() {
        QDR_CHECK(!m_initialized);
        if (m_stackChunk) {
            m_stackChunk->prev = nullptr;
            m_stackChunk->next = nullptr;
            LinkNodes(m_stackChunk, stackNodes);
        }
        m_initialized = 1;
    }

    bool AddChunk() {
        Chunk* chunk = static_cast<Chunk*>(m_traits.malloc(static_cast<size_t>(m_chunkBytes)));
        if (!chunk) return false;
        chunk->prev = nullptr;
        chunk->next = m_headChunk;
        if (m_headChunk) m_headChunk->prev = chunk;
        m_headChunk = chunk;
        LinkNodes(chunk, m_nodesOfChunk);
        return true;
    }

    traits m_traits;
    int32_t m_chunkBytes;
    int32_t m_nodesOfChunk;
    Chunk* m_headChunk;  // heap chunks only; the inline chunk is never in this list
    Node* m_free;
    alignas(void*) unsigned char m_stackRoom[sizeof(Chunk) + stackNodes * kNodeStride];
    Chunk* m_stackChunk;
    int32_t m_initialized;
};

// One pool shared by copies: the pool lives in a counted entity, one heap block from
// traits, which the last copy destroys. The count is plain: the copies belong to one
// container, which is guarded by whatever guards the container.
//
// If the entity cannot be allocated the check "(m_entity)" is reported and the
// allocator hands out nothing: Allocate returns 0.
template <class POOL, class traits = sys_allocator_traits>
class WrapperAllocator {
    struct Entity {
        explicit Entity(const traits& t) : refCount_(1), pool(t) {}
        int32_t refCount_;
        POOL pool;
    };

public:
    typedef POOL Pool;

    explicit WrapperAllocator(const traits& t = traits()) {
        traits source(t);
        void* block = source.malloc(sizeof(Entity));
        m_entity = block ? new (block) Entity(t) : nullptr;
        QDR_CHECK(m_entity);
        if (m_entity) QDR_CHECK(1 == m_entity->refCount_);
    }

    WrapperAllocator(const WrapperAllocator& r) : m_entity(r.m_entity) { AddRef(); }

    WrapperAllocator& operator=(const WrapperAllocator& r) {
        if (r.m_entity == m_entity) return *this;
        WrapperAllocator keep(r);
        Release();
        m_entity = keep.m_entity;
        AddRef();
        return *this;
    }

    ~WrapperAllocator() { Release(); }

    void* Allocate(int32_t bytes) { return m_entity ? m_entity->pool.Allocate(bytes) : nullptr; }
    void Deallocate(void* block) {
        QDR_CHECK(m_entity);
        if (m_entity) m_entity->pool.Deallocate(block);
    }

    bool SharesPoolWith(const WrapperAllocator& r) const { return m_entity == r.m_entity; }
    int32_t RefCount() const { return m_entity ? m_entity->refCount_ : 0; }
    const POOL* GetPool() const { return m_entity ? &m_entity->pool : nullptr; }

private:
    void AddRef() {
        if (!m_entity) return;
        QDR_CHECK(m_entity->refCount_ >= 1);
        ++m_entity->refCount_;
    }

    void Release() {
        if (!m_entity) return;
        QDR_CHECK(m_entity->refCount_ >= 1);
        if (--m_entity->refCount_ > 0) {
            m_entity = nullptr;
            return;
        }
        QDR_CHECK(0 == m_entity->refCount_);
        m_entity->~Entity();
        traits().free(m_entity);
        m_entity = nullptr;
    }

    Entity* m_entity;
};
