// Shows the events of the navigation service from an application's own poll loop, which waits for
// commands at the same time: e engages, d disengages, q (or the end of the input) ends. Needs a
// navigation service on this machine, now or later: the link is opened whenever there is one.

#include <iostream>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include <api/Subscription.h>

namespace {

constexpr int kLookForServiceMilliseconds = 500;

/// The connection, with subscriptions that print.
class CWatchedNavigation
{
public:
    CNavigationAPI& operator*() { return m_navigation; }

private:
    CNavigationAPI m_navigation;
    // Behind the connection, so that they end before it.
    Kestrove::Subscription m_engageStatus = Kestrove::OnEngageStatus(
        m_navigation, [](bool engaged, bool possible, bool active, bool, bool) {
            std::cout << "steering "
                      << (engaged    ? "engaged"
                          : possible ? "possible"
                                     : "off")
                      << ", navigation " << (active ? "active" : "off") << std::endl;
        });
    Kestrove::Subscription m_guidanceStatus = Kestrove::OnGuidanceStatus(
        m_navigation, [](int pass, double crossTrackError, double, double) {
            std::cout << "pass " << pass << ", " << crossTrackError * 100 << " cm" << std::endl;
        });
    Kestrove::Subscription m_implementWidth =
        Kestrove::OnImplementWidth(m_navigation, [](double width) {
            std::cout << "implement " << width << " m" << std::endl;
        });
};

/// Does what a command says; false when it says to end.
bool Obey(CNavigationAPI& navigation, char command)
{
    if (command == 'e') {
        std::cout << "engage: " << navigation.EngageSteering() << std::endl;
    } else if (command == 'd') {
        std::cout << "disengage: " << navigation.DisengageSteering() << std::endl;
    }
    return command != 'q';
}

void Watch(CNavigationAPI& navigation)
{
    char command = '\0';
    do {
        // An operation may have taken events in while it waited for its reply, and no descriptor
        // shows those: so all that are there are delivered before the wait.
        while (navigation.CheckCallbacks() > 0) {
        }
        // Without a link there is no descriptor, and poll() passes over -1; the time-out then
        // leads back to CheckCallbacks(), which opens the link again.
        pollfd waits[] = {{STDIN_FILENO, POLLIN, 0}, {navigation.Descriptor(), POLLIN, 0}};
        poll(waits, 2, kLookForServiceMilliseconds);
        if (waits[0].revents != 0 && read(STDIN_FILENO, &command, 1) != 1) {
            return;
        }
    } while (Obey(navigation, std::exchange(command, '\0')));
}

} // namespace

int main()
{
    CWatchedNavigation navigation;
    Watch(*navigation);
}
