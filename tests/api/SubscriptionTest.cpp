#include "api/Subscription.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <type_traits>

#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"

namespace {

using Contract::ListOf;
using Kestrove::OnOffset;
using Kestrove::OnWaylineStatus;
using Kestrove::Subscription;

static_assert(!std::is_copy_constructible_v<Subscription>);
static_assert(std::is_nothrow_move_constructible_v<Subscription>);
static_assert(std::is_nothrow_move_assignable_v<Subscription>);

std::string Told(bool value)
{
    return Contract::Text(value);
}
std::string Told(int value)
{
    return Contract::Text(value);
}
std::string Told(double value)
{
    return Contract::Text(value);
}
std::string Told(const Core::Maths::Vector2<double>& vector)
{
    return Told(vector.x) + ", " + Told(vector.y);
}

/// Writes down what it is called with, as the contract table does.
class CWriter
{
public:
    explicit CWriter(std::string& text) : m_text(text) {}

    template <typename... Values>
    void operator()(const Values&... values) const
    {
        std::string call;
        ((call += (call.empty() ? "" : ", ") + Told(values)), ...);
        m_text += "(" + call + ")";
    }
    void operator()(const std::vector<Core::Maths::Vector2<double>>& points) const
    {
        m_text += "[" + std::to_string(points.size()) + " points]";
    }

private:
    std::string& m_text;
};

class Subscriptions : public CApiTest
{
protected:
    /// Delivers an event as the bundled runtime does: to the callback registered last.
    void DeliverOnce(const std::string& event, BListC& payload)
    {
        recording.Callbacks(event).back()->Callback(&payload);
    }
    void Shift(double shift) { DeliverOnce("cb_offsets", *ListOf(shift)); }
    std::string calls;
};

TEST_F(Subscriptions, TakeEveryEventByAGenericCallableAndEndByThemselves)
{
    const std::function<Subscription()> makers[] = {
        [this] { return Kestrove::OnEngageStatus(api, CWriter(calls)); },
        [this] { return Kestrove::OnGuidanceStatus(api, CWriter(calls)); },
        [this] { return Kestrove::OnOffset(api, CWriter(calls)); },
        [this] {
            return OnWaylineStatus(api,
                                   [this](bool a, bool b, bool c, Kestrove::EWaylineType type) {
                                       CWriter{calls}(a, b, c, static_cast<int>(type));
                                   });
        },
        [this] { return OnWaylineStatus(api, CWriter(calls)); },
        [this] { return Kestrove::OnImplementWidth(api, CWriter(calls)); },
        [this] { return Kestrove::OnTuningParameterChanged(api, CWriter(calls)); },
        [this] { return Kestrove::OnRelativePosition(api, CWriter(calls)); },
        [this] { return Kestrove::OnDrawPoints(api, CWriter(calls)); },
    };
    ASSERT_EQ(std::size(makers), Contract::EventTable().size());
    for (std::size_t i = 0; i < std::size(makers); ++i) {
        const Contract::EventRow& row = Contract::EventTable()[i];
        const auto payload = row.makePayload();
        calls.clear();
        {
            const Subscription subscription = makers[i]();
            EXPECT_TRUE(subscription.IsActive()) << row.setter;
            DeliverOnce(row.event, *payload);
        }
        EXPECT_EQ(calls, row.call == "[]" ? "[0 points]" : row.call) << row.setter;
        DeliverOnce(row.event, *payload);
        EXPECT_EQ(calls, row.call == "[]" ? "[0 points]" : row.call) << row.setter << " ended";
    }
}

int AddShift(double shift)
{
    static int count = 0;
    return count += static_cast<int>(shift);
}

struct CDisplay
{
    void Show(double shift) { shown = shift; }
    double shown = 0.0;
};

TEST_F(Subscriptions, TakeAnyCallableAndDropItsResult)
{
    CDisplay display;
    const std::function<void(double)> function = CWriter(calls);
    Subscription subscription = OnOffset(api, function);
    Shift(0.1);
    subscription = OnOffset(api, &AddShift);
    Shift(3.0);
    EXPECT_EQ(AddShift(0.0), 3);
    subscription = OnOffset(api, std::bind(&CDisplay::Show, &display, std::placeholders::_1));
    Shift(0.2);
    EXPECT_EQ(display.shown, 0.2);
    subscription = OnOffset(api, [own = std::make_unique<int>(5), this](double) mutable {
        calls += std::to_string((*own)++);
        return *own;
    });
    Shift(0.3);
    Shift(0.3);

    EXPECT_EQ(calls, "(0.1)56");
}

TEST_F(Subscriptions, DestroyTheirCallableWhenTheyEnd)
{
    auto token = std::make_shared<int>();
    const std::weak_ptr<int> alive = token;
    Subscription subscription = OnOffset(api, [token = std::move(token)](double) {});
    EXPECT_FALSE(alive.expired());

    subscription.End();
    subscription.End();

    EXPECT_TRUE(alive.expired());
    EXPECT_FALSE(subscription.IsActive());
}

TEST_F(Subscriptions, LeaveWhatHasTakenTheirPlaceAlone)
{
    Subscription first = OnOffset(api, [this](double) { calls += "first;"; });
    const Subscription second = OnOffset(api, [this](double) { calls += "second;"; });
    EXPECT_FALSE(first.IsActive());
    first.End();
    Shift(0.1);

    api.SetOffsetCallback(
        Core::Functors::MakeFunctor([this](double) { calls += "of the setter;"; }));
    EXPECT_FALSE(second.IsActive());
    {
        const Subscription third = OnWaylineStatus(api, CWriter(calls)); // of another event
    }
    Shift(0.1);

    EXPECT_EQ(calls, "second;of the setter;");
    api.SetOffsetCallback(nullptr);
}

/// A callable that cannot be moved the second time, which is within the subscription.
class CImmovable
{
public:
    CImmovable() = default;
    CImmovable(CImmovable&& other) : m_moves(other.m_moves + 1)
    {
        if (m_moves == 2) {
            throw std::runtime_error("moved");
        }
    }
    void operator()(double /*shift*/) const {}

private:
    int m_moves = 0;
};

TEST_F(Subscriptions, LeaveTheEarlierOneInPlaceWhereTheyCannotBeMade)
{
    const Subscription first = OnOffset(api, [this](double) { calls += "first;"; });

    EXPECT_THROW(static_cast<void>(OnOffset(api, CImmovable())), std::runtime_error);

    EXPECT_TRUE(first.IsActive());
    Shift(0.1);
    EXPECT_EQ(calls, "first;");
}

TEST_F(Subscriptions, AreMovedWithoutAnEnd)
{
    Subscription first = OnOffset(api, CWriter(calls));
    Subscription second(std::move(first));
    Subscription third = Kestrove::OnImplementWidth(api, [](double) {});
    third = std::move(second);
    Subscription& itself = third;
    third = std::move(itself);

    Shift(0.1);

    EXPECT_EQ(calls, "(0.1)");
    EXPECT_TRUE(third.IsActive());
    third = Subscription();
    Shift(0.2);
    EXPECT_EQ(calls, "(0.1)");
}

TEST_F(Subscriptions, MayEndAndReplaceThemselvesInTheirCall)
{
    Subscription subscription;
    const auto next = [this](double) { calls += "next;"; };
    subscription = OnOffset(api, [this, &subscription, next, text = std::string("first;")](double) {
        subscription.End();
        Shift(0.1); // to nobody
        subscription = OnOffset(api, next);
        calls += text; // the callable is still there
    });

    Shift(0.1);
    Shift(0.1);

    EXPECT_EQ(calls, "first;next;");
}

TEST_F(Subscriptions, MayBelongToTheirOwnCallable)
{
    auto owner = std::make_shared<Subscription>();
    const std::weak_ptr<Subscription> alive = owner;
    *owner = OnOffset(api, [owner](double) { owner->End(); });
    owner.reset();
    EXPECT_FALSE(alive.expired());

    Shift(0.1);

    EXPECT_TRUE(alive.expired());
}

} // namespace
