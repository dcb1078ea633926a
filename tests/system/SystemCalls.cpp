#include "SystemCalls.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/syscall.h>
#include <unistd.h>

std::function<std::optional<int>()> SystemCalls::onPoll;
int SystemCalls::sleeps = 0;
bool SystemCalls::hostsHaveAddress = true;
long SystemCalls::hostId = 0;

// Without poll.h, whose hardened forms may be inline.
struct pollfd;

extern "C" int poll(pollfd* entries, unsigned long count, int milliseconds)
{
    if (SystemCalls::onPoll)
        if (const auto result = SystemCalls::onPoll())
            return *result;
    return int(syscall(SYS_poll, entries, count, milliseconds));
}

extern "C" unsigned int sleep(unsigned int)
{
    ++SystemCalls::sleeps;
    return 0;
}

extern "C" hostent* gethostbyname(const char* name)
{
    static in_addr loopback = {htonl(INADDR_LOOPBACK)};
    static char* addresses[] = {reinterpret_cast<char*>(&loopback), nullptr};
    static hostent entry = {const_cast<char*>(name), nullptr, AF_INET, sizeof loopback, addresses};
    return SystemCalls::hostsHaveAddress ? &entry : nullptr;
}

extern "C" long gethostid()
{
    return SystemCalls::hostId;
}
