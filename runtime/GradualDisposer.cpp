#include "runtime/GradualDisposer.h"

#include <exception>
#include <utility>

#include <asio/post.hpp>

#include "runtime/TurnClock.h"

void GradualDisposerC::Destroy(Remains&& remains, std::size_t bytes)
{
    if (bytes < kLeastBytes || m_hasEnded) {
        const Remains ended(std::move(remains));
        return;
    }
    try {
        m_items.push_back({std::move(remains), bytes});
        m_pending += bytes;
        PostTurn();
    } catch (const std::exception&) {
        // Without memory it has been destroyed here, or goes with what comes next.
    }
}

void GradualDisposerC::End()
{
    m_hasEnded = true;
    m_value = ElementRemainsC();
    m_items.clear();
    m_pending = 0;
}

void GradualDisposerC::PostTurn()
{
    if (!m_isPosted) {
        asio::post(m_loop, [self = shared_from_this()] { self->TakeTurn(); });
        m_isPosted = true;
    }
}

void GradualDisposerC::TakeTurn()
{
    m_isPosted = false;
    const TurnClockC turn(kTurn);
    while (!m_items.empty() && !turn.IsOver()) {
        DestroySome(kStepsAtOnce);
    }
    if (!m_items.empty()) {
        PostTurn();
    }
}

void GradualDisposerC::DestroySome(std::size_t steps)
{
    while (steps > 0 && !m_items.empty()) {
        if (m_value.IsLeft()) {
            m_value.DestroySome(steps, m_large);
            continue;
        }
        --steps;
        if (!Begin(m_items.front().remains)) {
            m_pending -= m_items.front().bytes;
            m_items.pop_front();
        }
    }
}

/// Begins with the next piece of what is left of a client.
///
/// @return false when there is none.
bool GradualDisposerC::Begin(Remains& remains)
{
    if (Begin(remains.message) || Begin(remains.unfinished)) {
        return true;
    }
    if (!remains.waiting.empty()) {
        if (!Begin(remains.waiting.front())) {
            remains.waiting.pop_front();
        }
        return true;
    }
    if (!remains.texts.empty()) {
        remains.texts.pop_front();
        return true;
    }
    if (!remains.names.empty()) {
        remains.names.erase(remains.names.begin());
        return true;
    }
    return false;
}

/// @return false when the message has no values any more.
bool GradualDisposerC::Begin(MessageC& message)
{
    const std::size_t bytes = message.method.capacity();
    m_large.Destroy(std::exchange(message.method, std::string()), bytes);
    std::unique_ptr<BElementC> value = std::move(message.arguments);
    if (value == nullptr) {
        value = std::move(message.error);
    }
    if (value == nullptr) {
        value = std::move(message.result);
    }
    m_value = ElementRemainsC(std::move(value));
    return m_value.IsLeft();
}
