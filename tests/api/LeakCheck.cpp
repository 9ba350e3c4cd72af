// Makes every call of the wire contract in every outcome, and reports how many argument lists each
// operation has kept. Built with the address sanitizer, it then leaves the leak checker to find
// just these; check_leaks.py compares the two.

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "tests/api/ContractTable.h"
#include "tests/doubles/Recording.h"

namespace {

using Contract::EKind;
using Contract::Row;
using Doubles::Recording;

/// The lists that one call keeps.
int KeptBy(const Row& row, const Contract::MakeReply& reply, bool reachable)
{
    Recording().Reset();
    Recording().SetServiceReachable(reachable);
    Recording().SetVerified(reachable);
    if (reply) {
        Recording().ReplyWith(reply());
    }
    CNavigationAPI api;
    row.run(api);
    return Recording().LiveElements();
}

/// The lists that the row's call keeps in all its outcomes.
int KeptBy(const Row& row)
{
    int kept = KeptBy(row, nullptr, false) + KeptBy(row, nullptr, true);
    if (row.kind == EKind::Request) {
        kept += KeptBy(row, row.reply, true);
        kept += KeptBy(row, Contract::IntReply(1), true);
        kept += KeptBy(row, Contract::ListReply(1), true);
    }
    return kept;
}

void SetAndReplaceFunctors()
{
    Recording().Reset();
    CNavigationAPI api;
    std::string calls;
    for (const Contract::EventRow& row : Contract::EventTable()) {
        row.set(api, &calls);
        row.set(api, &calls);
        row.set(api, nullptr);
    }
}

void MakeAllCalls(std::map<std::string, int>& kept)
{
    for (const Row& row : Contract::Table()) {
        kept[row.Name()] += KeptBy(row);
    }
    SetAndReplaceFunctors();
    Recording().Reset();
}

} // namespace

int main()
{
    std::map<std::string, int> kept;
    // On a thread of its own, so that no stale pointer on the stack makes a kept list look in use.
    std::thread(MakeAllCalls, std::ref(kept)).join();
    for (const auto& [operation, lists] : kept) {
        std::printf("%s %d\n", operation.c_str(), lists);
    }
    // The leak checker ends the process without the usual flush.
    std::fflush(stdout);
}
