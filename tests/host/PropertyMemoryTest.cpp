#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "trevik/kelvo/ITraceable.h"
#include "trevik/kelvo/MemoryTracer.h"

namespace trevik::kelvo {
namespace {

/** Reports one byte of geometry and its neighbours. */
struct Block : ITraceable {
    void Emit(MemoryTracer* pTracer) override {
        pTracer->EmitAllocation(1, MemoryType::Geometry);
        for (Block* pNeighbour : m_neighbours) {
            pTracer->EmitObject(pNeighbour);
        }
    }
    std::vector<Block*> m_neighbours;
};

TEST(PropertyMemory, EachObjectCountsOnceHoweverShared) {
    // A ring: every object is reached twice, the first one by itself in the end.
    std::vector<std::unique_ptr<Block>> blocks;
    for (int i = 0; i < 1000; ++i) {
        blocks.push_back(std::make_unique<Block>());
    }
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        blocks[i]->m_neighbours = {blocks[(i + 1) % blocks.size()].get(),
                                   blocks[(i + 7) % blocks.size()].get()};
    }
    MemoryTracer tracer;
    tracer.EmitObject(blocks[0].get());
    EXPECT_EQ(tracer.GetAllocationCount(MemoryType::Geometry), 1000u);
    tracer.EmitObject(blocks[500].get());
    tracer.EmitObject(nullptr);
    EXPECT_EQ(tracer.GetBytes(MemoryType::Geometry), 1000u);
}

TEST(PropertyMemory, TypesAreAddedUpApart) {
    MemoryTracer tracer;
    tracer.EmitAllocation(0xffffffffu, MemoryType::Texture);
    tracer.EmitAllocation(2, MemoryType::Texture);
    tracer.EmitAllocation(5, MemoryType::Font);
    tracer.EmitAllocation(100, static_cast<MemoryType::Enum>(MemoryType::Count));
    tracer.EmitAllocation(100, static_cast<MemoryType::Enum>(7));
    EXPECT_EQ(tracer.GetBytes(MemoryType::Texture), 0x100000001ull);
    EXPECT_EQ(tracer.GetAllocationCount(MemoryType::Texture), 2u);
    EXPECT_EQ(tracer.GetBytes(MemoryType::Object), 0u);
    EXPECT_EQ(tracer.GetTotalBytes(), 0x100000006ull) << "unknown types are not counted";
}

} // namespace
} // namespace trevik::kelvo
