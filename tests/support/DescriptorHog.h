#ifndef KESTROVE_TESTS_SUPPORT_DESCRIPTORHOG_H
#define KESTROVE_TESTS_SUPPORT_DESCRIPTORHOG_H

#include <algorithm>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

/// Takes every descriptor that the process may still have, until it is destroyed.
class CDescriptorHog
{
public:
    CDescriptorHog()
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit low = m_before;
        low.rlim_cur = 256;
        ::setrlimit(RLIMIT_NOFILE, &low);
        for (int descriptor = ::dup(0); descriptor >= 0; descriptor = ::dup(0)) {
            m_taken.push_back(descriptor);
        }
    }
    ~CDescriptorHog()
    {
        std::for_each(m_taken.begin(), m_taken.end(), ::close);
        ::setrlimit(RLIMIT_NOFILE, &m_before);
    }
    CDescriptorHog(const CDescriptorHog&) = delete;
    CDescriptorHog& operator=(const CDescriptorHog&) = delete;

private:
    rlimit m_before = {};
    std::vector<int> m_taken;
};

#endif
