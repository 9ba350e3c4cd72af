#include "simulator/http/SharedAnswer.h"

#include <algorithm>
#include <utility>

SharedAnswerC::SharedAnswerC(Work work, std::chrono::milliseconds freshFor)
    : m_work(std::move(work)), m_freshFor(freshFor)
{
}

void SharedAnswerC::Give(const std::shared_ptr<HttpConnectionC>& connection)
{
    if (m_fresh && Clock::now() - m_begun < m_freshFor) {
        connection->Answer(*m_fresh);
        return;
    }
    m_next.push_back(connection);
    WorkIfAsked();
}

void SharedAnswerC::WorkIfAsked()
{
    if (m_isWorking) {
        return;
    }
    m_now = std::exchange(m_next, {});
    const auto hasLeft = [](const auto& connection) { return connection->HasLeft(); };
    m_now.erase(std::remove_if(m_now.begin(), m_now.end(), hasLeft), m_now.end());
    if (m_now.empty()) {
        return;
    }
    m_isWorking = true;
    m_begun = Clock::now();
    m_work([this](const ServedAnswer& answer) { Finish(answer); });
}

void SharedAnswerC::Finish(const ServedAnswer& answer)
{
    constexpr int kGood = 200;
    m_fresh.reset();
    if (answer.status == kGood && m_freshFor.count() > 0) {
        m_fresh = answer;
    }
    for (const auto& connection : std::exchange(m_now, {})) {
        connection->Answer(answer);
    }
    m_isWorking = false;
    WorkIfAsked();
}
