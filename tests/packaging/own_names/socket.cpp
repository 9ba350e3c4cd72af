// A class of the application's own whose name the library has, too.
#include <string>

struct Socket
{
    Socket();
    virtual ~Socket();
    virtual void Connected();
    void Close();

    int fd = -1;
    std::string name = "the application's";
};

Socket::Socket() = default;
Socket::~Socket() = default;
void Socket::Connected() {}
void Socket::Close()
{
    fd = -1;
}

Socket g_socket;
