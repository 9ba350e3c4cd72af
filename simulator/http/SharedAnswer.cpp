#include "simulator/http/SharedAnswer.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "simulator/http/AnswerHead.h"

namespace {

/// Has the connection answered; where memory is wanted for that, it ends.
void AnswerOrClose(HttpConnectionC& connection, const ServedAnswer& answer)
{
    try {
        connection.Answer(answer);
    } catch (const std::exception&) {
        connection.Close();
    }
}

} // namespace

SharedAnswerC::SharedAnswerC(Work work, std::chrono::milliseconds freshFor)
    : m_work(std::move(work)), m_freshFor(freshFor),
      m_failure(RefusalOf(500, "the request could not be carried out"))
{
}

void SharedAnswerC::Give(const std::shared_ptr<HttpConnectionC>& connection)
{
    if (m_fresh && Clock::now() - m_begun < m_freshFor) {
        connection->Answer(*m_fresh);
        return;
    }
    // So there are never many more than there are connections.
    const auto isClosed = [](const auto& weak) {
        const auto one = weak.lock();
        return !one || one->Stage() == HttpConnectionC::EStage::Closed;
    };
    m_next.erase(std::remove_if(m_next.begin(), m_next.end(), isClosed), m_next.end());
    m_next.push_back(connection);
    WorkIfAsked();
}

void SharedAnswerC::WorkIfAsked()
{
    if (m_isWorking) {
        return;
    }
    m_now = std::exchange(m_next, {});
    const auto hasLeft = [](const auto& weak) {
        const auto one = weak.lock();
        return !one || one->HasLeft();
    };
    m_now.erase(std::remove_if(m_now.begin(), m_now.end(), hasLeft), m_now.end());
    if (m_now.empty()) {
        return;
    }
    m_isWorking = true;
    m_begun = Clock::now();
    const std::uint64_t work = ++m_works;
    try {
        m_work([this, work](const ServedAnswer& answer) { Finish(work, answer); });
    } catch (const std::exception&) {
        Finish(work, m_failure);
    }
}

void SharedAnswerC::Finish(std::uint64_t work, const ServedAnswer& answer)
{
    constexpr int kGood = 200;
    if (!m_isWorking || work != m_works) {
        return;
    }
    m_fresh.reset();
    if (answer.status == kGood && m_freshFor.count() > 0) {
        m_fresh = answer;
    }
    for (const auto& weak : std::exchange(m_now, {})) {
        if (const auto connection = weak.lock()) {
            AnswerOrClose(*connection, answer);
        }
    }
    m_isWorking = false;
    WorkIfAsked();
}
