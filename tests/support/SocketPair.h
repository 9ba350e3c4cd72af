#ifndef KESTROVE_TESTS_SUPPORT_SOCKETPAIR_H
#define KESTROVE_TESTS_SUPPORT_SOCKETPAIR_H

/// Two TCP sockets that are connected with each other.
class CSocketPair
{
public:
    CSocketPair();
    ~CSocketPair();
    CSocketPair(const CSocketPair&) = delete;
    CSocketPair& operator=(const CSocketPair&) = delete;

    /// Hands over one of the two; the caller closes it.
    int Release(int index);

private:
    int m_descriptors[2] = {-1, -1};
};

#endif
