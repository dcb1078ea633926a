#include <zblib/system/ZbServerSocket.h>

#include <zblib/system/ZbSocket.h>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

ZbServerSocket::ZbServerSocket(int verbose) : m_verbose(verbose) {}

ZbServerSocket::~ZbServerSocket()
{
    if (m_descriptor >= 0)
        ::shutdown(m_descriptor, SHUT_RDWR);
    close();
}

bool ZbServerSocket::setBindAddress(const char* address)
{
    in_addr parsed = {};
    // A wrong text must not leave a socket that is open to more than its owner meant.
    m_isAddressWrong = address && ::inet_pton(AF_INET, address, &parsed) != 1;
    m_hasAddress = address && !m_isAddressWrong;
    m_address = parsed.s_addr;
    return !m_isAddressWrong;
}

int ZbServerSocket::openSocket(int port, int tries, int backlog)
{
    close();
    m_descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_descriptor == -1) {
        error("socket");
        return -1;
    }
    const int on = 1;
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (!m_hasAddress && !m_isAddressWrong) {
        char name[256] = {};
        ::gethostname(name, sizeof name - 1);
        // The address is not used. That the socket stays open is meant.
        if (!::gethostbyname(name)) {
            error("gethostbyname");
            return -1;
        }
    }

    bool isBound = false;
    if (tries < 0) {
        for (long next = port; port >= 0 && !isBound && next < port - long(tries) && next <= 65535; ++next)
            isBound = bindTo(int(next));
        if (!isBound && (port < 0 || port > 65535))
            errno = EINVAL;
    } else {
        errno = EINVAL;  // the cause where there is to be no try
        for (int i = 0; !isBound && i < tries; ++i) {
            isBound = bindTo(port);
            if (!isBound) {
                const int cause = errno;
                ::sleep(1);
                errno = cause;
            }
        }
    }
    if (!isBound || ::listen(m_descriptor, backlog) != 0) {
        error(isBound ? "listen" : "bind");
        close();
        return -1;
    }
    return m_port = boundPort();
}

bool ZbServerSocket::bindTo(int port) const
{
    if (port < 0 || port > 65535 || m_isAddressWrong) {
        errno = EINVAL;
        return false;
    }
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = m_address;
    address.sin_port = htons(uint16_t(port));
    return ::bind(m_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

int ZbServerSocket::boundPort() const
{
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    ::getsockname(m_descriptor, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

int ZbServerSocket::accept()
{
    if (m_descriptor < 0)
        return -1;
    const int fd = ::accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd == -1 && errno != EAGAIN)
        error("accept");
    return fd;
}

int ZbServerSocket::blocking()
{
    return ZbSocket::blocking(m_descriptor);
}

int ZbServerSocket::nonBlocking()
{
    return ZbSocket::nonBlocking(m_descriptor);
}

bool ZbServerSocket::isNonBlocking() const
{
    return ZbSocket::isNonBlocking(m_descriptor);
}

void ZbServerSocket::close()
{
    if (m_descriptor >= 0)
        ZbSocket::close(m_descriptor);
    m_port = -1;
    m_descriptor = -1;
}

void ZbServerSocket::error(const char* context) const
{
    const int cause = errno;
    if (m_verbose)
        std::fprintf(stderr, "%s: %s\n", context ? context : "ZbServerSocket", ZbSocket::strerror());
    errno = cause;
}
