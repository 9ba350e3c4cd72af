#include "runtime/GradualDisposer.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <gtest/gtest.h>

#include "runtime/ElementRemains.h"
#include "runtime/ListAccess.h"

namespace {

/// Counts those that there are, and knows where the last was destroyed.
class CCounted final : public BElementC
{
public:
    CCounted() : BElementC(nullptr) { ++count; }
    ~CCounted() override
    {
        --count;
        place = std::this_thread::get_id();
    }
    EBElementType Type() const override { return EBElementType::String; }

    static inline int count = 0;
    static inline std::thread::id place;
};

/// A list of `width` lists, each of `each` counted values, with numbers and nothing in between.
std::unique_ptr<BListC> Wide(int width, int each)
{
    auto list = std::make_unique<BListC>(nullptr);
    for (int row = 0; row < width; ++row) {
        auto* const inner = new BListC(nullptr);
        list->Add(inner);
        for (int place = 0; place < each; ++place) {
            inner->AddInt(place);
            inner->Add(new CCounted);
        }
        list->AddNothing();
    }
    return list;
}

/// Lists within lists, the innermost of which holds one counted value.
std::unique_ptr<BListC> Deep(int levels)
{
    auto list = std::make_unique<BListC>(nullptr);
    BListC* present = list.get();
    for (int level = 1; level < levels; ++level) {
        auto* const inner = new BListC(nullptr);
        present->Add(inner);
        present = inner;
    }
    present->Add(new CCounted);
    return list;
}

/// A dictionary of dictionaries, with long keys, that hold counted values and lists of those.
std::unique_ptr<BElementC> Dictionaries(int width)
{
    auto outer = std::make_unique<BDictionaryC>(nullptr);
    for (int entry = 0; entry < width; ++entry) {
        auto* const inner = new BDictionaryC(nullptr);
        outer->Add(std::string(100, 'k') + std::to_string(entry), inner);
        inner->Add("value", new CCounted);
        inner->Add("list", Wide(2, 1).release());
        inner->Add("nothing", nullptr);
        inner->Add("empty", new BDictionaryC(nullptr));
    }
    return outer;
}

/// A long list whose texts share blocks, two in each; of every tenth block the first is a node.
std::unique_ptr<BListC> Texts(int blocks)
{
    auto list = std::make_unique<BListC>(nullptr);
    for (int block = 0; block < blocks; ++block) {
        char* const texts = new char[8];
        std::string("eightchr").copy(texts, 8);
        BListAccessC::AddText(*list, texts, 4, true);
        BListAccessC::AddText(*list, texts + 4, 4, false);
        if (block % 10 == 0) {
            EXPECT_EQ("eigh", list->GetString(2 * block));
        }
    }
    list->Add(new CCounted);
    return list;
}

std::unique_ptr<BElementC> Mixed()
{
    auto list = std::make_unique<BListC>(nullptr);
    list->Add(Deep(50).release());
    list->Add(new BListC(nullptr));
    list->Add(new BDictionaryC(nullptr));
    list->Add(Dictionaries(20).release());
    list->AddString(std::string(std::size_t{1} << 20U, 't'));
    list->AddDouble(0.5);
    list->Add(Wide(30, 3).release());
    list->Add(Texts(30).release());
    list->Add(new CCounted);
    return list;
}

struct Case
{
    const char* name;
    std::function<std::unique_ptr<BElementC>()> make;
};

std::vector<Case> Cases()
{
    return {{"nothing", [] { return std::unique_ptr<BElementC>(); }},
            {"an atom", [] { return std::make_unique<BAtomC>(std::string("text")); }},
            {"a counted value", [] { return std::make_unique<CCounted>(); }},
            {"an empty list", [] { return std::make_unique<BListC>(nullptr); }},
            {"an empty dictionary", [] { return std::make_unique<BDictionaryC>(nullptr); }},
            {"an empty list in a list", [] { return Wide(1, 0); }},
            {"wide", [] { return Wide(300, 2); }},
            {"a wide list in one", [] { return Wide(1, 1000); }},
            {"deep", [] { return Deep(100'000); }},
            {"dictionaries", [] { return Dictionaries(100); }},
            {"texts in blocks", [] { return Texts(200); }},
            {"mixed", [] { return Mixed(); }}};
}

GradualDisposerC::Remains Of(std::unique_ptr<BListC> list)
{
    GradualDisposerC::Remains remains;
    remains.message.arguments = std::move(list);
    return remains;
}

constexpr std::size_t kLarge = GradualDisposerC::kLeastBytes;

} // namespace

TEST(ElementRemains, GoInStepsAndAllOfThemWhateverTheyAre)
{
    DisposerC large;
    for (const Case& one : Cases()) {
        for (const std::size_t most : {1U, 2U, 3U, 7U, 100U, 1'000'000U}) {
            SCOPED_TRACE(std::string(one.name) + " in steps of " + std::to_string(most));
            ElementRemainsC remains(one.make());
            while (remains.IsLeft()) {
                const int before = CCounted::count;
                std::size_t steps = most;
                remains.DestroySome(steps, large);
                ASSERT_LE(before - CCounted::count, static_cast<int>(most));
                ASSERT_TRUE(steps == 0 || !remains.IsLeft());
                ASSERT_LT(steps, most); // something has gone each time
            }
            EXPECT_EQ(0, CCounted::count);
        }
    }
}

TEST(ElementRemains, GoAsAWholeWhereverTheyHaveBeenLeft)
{
    DisposerC large;
    for (const Case& one : Cases()) {
        for (std::size_t left = 0; left < 200; left += 1 + left / 8) {
            ElementRemainsC remains(one.make());
            std::size_t steps = left;
            remains.DestroySome(steps, large);
        }
        EXPECT_EQ(0, CCounted::count) << one.name;
    }
}

TEST(GradualDisposer, LetsOthersInBetweenItsTurnsAndStaysOnTheirThread)
{
    asio::io_context loop;
    const auto disposer = std::make_shared<GradualDisposerC>(loop);
    disposer->Destroy(Of(Wide(200'000, 2)), kLarge);
    EXPECT_EQ(400'000, CCounted::count); // nothing at once
    EXPECT_EQ(kLarge, disposer->Pending());
    int looks = 0;
    std::function<void()> look = [&] {
        ++looks;
        if (CCounted::count > 0) {
            EXPECT_EQ(kLarge, disposer->Pending()); // until the last has gone
            asio::post(loop, look);
        }
    };
    asio::post(loop, look);
    loop.run();
    EXPECT_LT(5, looks); // it takes more than as many turns
    EXPECT_EQ(0, CCounted::count);
    while (disposer->Pending() > 0) { // the block of the outer list's places, aside
        std::this_thread::yield();
    }
    EXPECT_EQ(std::this_thread::get_id(), CCounted::place);
}

TEST(GradualDisposer, DestroysAllThatIsLeftOfAClient)
{
    asio::io_context loop;
    const auto disposer = std::make_shared<GradualDisposerC>(loop);
    for (int client = 0; client < 3; ++client) {
        GradualDisposerC::Remains remains = Of(Wide(10, 1));
        remains.message.error = std::make_unique<CCounted>();
        remains.unfinished.result = Mixed();
        remains.unfinished.method = std::string(std::size_t{1} << 20U, 'm');
        for (int message = 0; message < 100; ++message) {
            remains.waiting.emplace_back().arguments = Wide(1, message % 3);
            remains.texts.emplace_back(1000, 't');
            remains.names.insert("event " + std::to_string(message));
        }
        disposer->Destroy(std::move(remains), kLarge);
    }
    EXPECT_LT(0, CCounted::count);
    EXPECT_EQ(3 * kLarge, disposer->Pending());
    loop.run();
    EXPECT_EQ(0, CCounted::count);
}

TEST(GradualDisposer, DestroysWhatIsSmallAtOnce)
{
    asio::io_context loop;
    const auto disposer = std::make_shared<GradualDisposerC>(loop);
    disposer->Destroy(Of(Wide(10, 1)), kLarge - 1);
    EXPECT_EQ(0, CCounted::count);
    EXPECT_EQ(0U, loop.run());
}

TEST(GradualDisposer, BeginsAnewWithWhatComesLater)
{
    asio::io_context loop;
    const auto disposer = std::make_shared<GradualDisposerC>(loop);
    for (int round = 0; round < 3; ++round) {
        disposer->Destroy(Of(Wide(10, 1)), kLarge);
        EXPECT_EQ(10, CCounted::count);
        loop.run();
        loop.restart();
        EXPECT_EQ(0, CCounted::count);
    }
}

TEST(GradualDisposer, DestroysWhatIsLeftAndWhateverComesAtOnceWhenNobodyIsServedAnyMore)
{
    asio::io_context loop;
    const auto disposer = std::make_shared<GradualDisposerC>(loop);
    disposer->Destroy(Of(Wide(200'000, 1)), kLarge);
    loop.run_one(); // a turn
    EXPECT_LT(0, CCounted::count);
    disposer->End();
    EXPECT_EQ(0, CCounted::count);
    EXPECT_EQ(0U, disposer->Pending());
    disposer->Destroy(Of(Wide(10, 1)), kLarge);
    EXPECT_EQ(0, CCounted::count);
    loop.run();
}

TEST(GradualDisposer, LeavesNothingWhenItsLoopEndsBeforeItsTurn)
{
    {
        asio::io_context loop;
        std::make_shared<GradualDisposerC>(loop)->Destroy(Of(Wide(10, 1)), kLarge);
        EXPECT_EQ(10, CCounted::count);
    }
    EXPECT_EQ(0, CCounted::count);
}
