// Host MemoryBlocks: zero-filled bytes of a fixed size.
#include <cstdlib>

#include "host/entry_points.h"
#include "host/objects.h"

namespace standin {
namespace {

struct MemoryBlock : Object {
    static constexpr ObjectKind kKind = ObjectKind::MemoryBlock;
    MemoryBlock() : Object(kKind) { handle = this; }
    ~MemoryBlock() override { std::free(data); }
    uint8_t* data = nullptr;  // never null while alive, also for size 0
    int32_t size = 0;
    std::string describe() const override { return std::to_string(size) + " bytes"; }
    void dispose() override {
        std::free(data);
        data = nullptr;
    }
};

MemoryBlock* make(int32_t size) {
    if (size < 0) return nullptr;
    auto* bytes = static_cast<uint8_t*>(std::calloc(size_t(size) + 1, 1));
    if (!bytes) return nullptr;
    auto block = std::make_unique<MemoryBlock>();
    block->data = bytes;
    block->size = size;
    return registerAs(std::move(block));
}

MemoryBlock* blk(const void* handle, const char* who) { return lookupAs<MemoryBlock>(handle, who); }

}  // namespace

void* newMemoryBlock(int32_t size) {
    MemoryBlock* b = make(size);
    return b ? b->handle : nullptr;
}

uint8_t* memoryBlockData(void* block) {
    MemoryBlock* b = blk(block, "memoryBlockData");
    return b ? b->data : nullptr;
}

int32_t memoryBlockSize(void* block) {
    MemoryBlock* b = blk(block, "memoryBlockSize");
    return b ? b->size : 0;
}

namespace entry {

REALmemoryBlockStruct* newMemoryBlock(int32_t size) {
    if (faultHits(Fault::MemoryBlockCreation)) return nullptr;
    return static_cast<REALmemoryBlockStruct*>(standin::newMemoryBlock(size));
}

void* memoryBlockGetPtr(REALmemoryBlockStruct* block) {
    MemoryBlock* b = blk(block, "memoryBlockGetPtr");
    return b ? b->data : nullptr;
}

int32_t memoryBlockGetSize(REALmemoryBlockStruct* block) {
    MemoryBlock* b = blk(block, "memoryBlockGetSize");
    return b ? b->size : 0;
}

}  // namespace entry
}  // namespace standin
