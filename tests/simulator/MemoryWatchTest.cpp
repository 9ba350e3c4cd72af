#include "simulator/aside/MemoryWatch.h"

#include <new>
#include <thread>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <gtest/gtest.h>

namespace {

constexpr std::size_t kBytes = 4 * SpareMemoryC::kPieceBytes;

/// What happens where an allocation fails.
void FailToAllocate()
{
    std::get_new_handler()();
}

TEST(SpareMemory, IsGivenOutWhereThereIsNoneAndPutAsideAgain)
{
    SpareMemoryC spare(kBytes);
    EXPECT_TRUE(spare.IsWhole());

    for (int piece = 0; piece < 4; ++piece) {
        EXPECT_NO_THROW(FailToAllocate());
        EXPECT_FALSE(spare.IsWhole());
    }
    EXPECT_THROW(FailToAllocate(), std::bad_alloc);

    EXPECT_TRUE(spare.Refill());
    EXPECT_TRUE(spare.IsWhole());
}

TEST(SpareMemory, IsNotForWhatMayBeRefused)
{
    SpareMemoryC spare(kBytes);
    {
        const SpareMemoryC::RefusableC much(true);
        const SpareMemoryC::RefusableC little(false); // within the other
        EXPECT_THROW(FailToAllocate(), std::bad_alloc);
    }
    EXPECT_TRUE(spare.IsWhole());

    const SpareMemoryC::RefusableC little(false);
    EXPECT_NO_THROW(FailToAllocate());
}

TEST(SpareMemory, IsForItsOwnThread)
{
    SpareMemoryC spare(kBytes);

    std::thread([] { EXPECT_THROW(FailToAllocate(), std::bad_alloc); }).join();

    EXPECT_TRUE(spare.IsWhole());
}

TEST(MemoryWatch, GoesOnWithTheLoopAfterWhatThereWasNoMemoryFor)
{
    asio::io_context loop;
    bool hasGoneOn = false;
    CMemoryWatch watch(loop, kBytes, [] {});
    asio::post(loop, [] { throw std::bad_alloc(); });
    asio::post(loop, [&] {
        hasGoneOn = true;
        loop.stop();
    });

    watch.Run();

    EXPECT_TRUE(hasGoneOn);
}

} // namespace
