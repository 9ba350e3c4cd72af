// Classes of the application's own, inline, with names that the library has: those that it shows,
// and those of its inside.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

struct Socket
{
    Socket() { large.assign(64, 7); }
    virtual ~Socket() { fd = -2; }
    virtual void Idle() { ++calls; }
    virtual void Connected() { ++calls; }
    int Descriptor() const { return fd; }
    void Close() { fd = -1; }

    int fd = -1;
    int calls = 0;
    std::vector<int> large;
};

struct TcpSocket : Socket
{
    std::string name = "the application's";
};

struct BListC
{
    BListC() { large.assign(32, 1); }
    ~BListC() { large[0] = 2; }
    void AddInt(int value) { large[3] = value; }

    std::vector<int> large;
};

struct MessageC
{
    MessageC() { large.assign(40, 1); }
    ~MessageC() { large[39] = 3; }

    std::vector<int> large;
};

struct EventQueueC
{
    ~EventQueueC() { large.clear(); }

    std::vector<int> large;
    int more[50] = {};
};

struct OwnNames
{
    OwnNames()
    {
        TcpSocket socket;
        Socket* const base = &socket;
        base->Idle();
        base->Connected();
        base->Close();
        BListC list;
        list.AddInt(4);
        const MessageC message;
        const EventQueueC queue;
        if (base->Descriptor() != -1 || socket.calls != 2 || socket.large[63] != 7 ||
            socket.name != "the application's" || list.large[3] != 4 || message.large[39] != 1 ||
            !queue.large.empty()) {
            std::puts("the application's own classes are not its own");
            std::exit(1);
        }
    }
};

OwnNames g_ownNames;
