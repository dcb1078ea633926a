#include <zblib/system/ZbSocket.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{

// Waits for bytes, unless fd is non-blocking, and takes as many off the socket as there are up to and with the
// first line feed, at most room, which is positive. Returns their number, or what recv returned where that was
// 0 or less. The same bytes as with one recv for each, in two calls of the system.
long takeLine(int fd, char* buffer, long room)
{
    const long there = ::recv(fd, buffer, size_t(room), MSG_PEEK);
    if (there <= 0)
        return there;
    const auto* const lineFeed = static_cast<const char*>(std::memchr(buffer, '\n', size_t(there)));
    return ::recv(fd, buffer, size_t(lineFeed ? lineFeed - buffer + 1 : there), 0);
}

bool resolve(const char* host, in_addr& address)
{
    address.s_addr = ::inet_addr(host);
    if (address.s_addr != INADDR_NONE)
        return true;
    const hostent* const entry = ::gethostbyname(host);
    if (!entry || entry->h_addrtype != AF_INET || !entry->h_addr_list[0])
        return false;
    std::memcpy(&address, entry->h_addr_list[0], sizeof address);
    return true;
}

bool connectTo(int fd, const char* host, int port)
{
    const int on = 1;
    if (::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0)
        return false;
    char ownName[256] = {};
    if (!host) {
        if (::gethostname(ownName, sizeof ownName - 1) != 0)
            return false;
        host = ownName;
    }
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    if (port < 0 || port > 65535 || !resolve(host, address.sin_addr)) {
        errno = EINVAL;
        return false;
    }
    address.sin_port = htons(uint16_t(port));
    return ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

int setStatus(int fd, int set, int cleared)
{
    const int flags = ::fcntl(fd, F_GETFL);
    return flags == -1 ? -1 : ::fcntl(fd, F_SETFL, (flags & ~cleared) | set);
}

}  // namespace

int ZbSocket::connect(const char* host, int port)
{
    // Not inherited by the programs that an application starts.
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    if (fd == -1 || connectTo(fd, host, port))
        return fd;
    const int cause = errno;
    ::close(fd);
    errno = cause;
    return -1;
}

int ZbSocket::receive(int fd, char* buffer, int size, int lineMode)
{
    blocking(fd);
    if (size < (lineMode ? 2 : 1))
        return 0;
    const int room = lineMode ? size - 1 : size;
    int count = 0;
    do {
        const long got = lineMode ? takeLine(fd, buffer + count, room - count)
                                  : long(::recv(fd, buffer + count, size_t(room - count), 0));
        if (got <= 0)
            return int(got);
        count += int(got);
    } while (count < room && !(lineMode && buffer[count - 1] == '\n'));
    if (lineMode)
        buffer[count] = 0;
    return count;
}

long ZbSocket::readLine(int fd, ZbString& line)
{
    blocking(fd);
    line.clear();
    char piece[4096];
    for (;;) {
        const long got = takeLine(fd, piece, sizeof piece);
        if (got <= 0)
            return got;
        line.append(piece, got);
        if (piece[got - 1] == '\n')
            return line.length();
    }
}

long ZbSocket::send(int fd, const char* format, ...)
{
    ZbString text;
    va_list arguments;
    va_start(arguments, format);
    text.vprintf(format, arguments);
    va_end(arguments);
    return ::send(fd, text.getString(), size_t(text.length()), MSG_NOSIGNAL);
}

int ZbSocket::blocking(int fd)
{
    return setStatus(fd, 0, O_NONBLOCK);
}

int ZbSocket::nonBlocking(int fd)
{
    return setStatus(fd, O_NONBLOCK, 0);
}

bool ZbSocket::isNonBlocking(int fd)
{
    const int flags = ::fcntl(fd, F_GETFL);
    return flags != -1 && (flags & O_NONBLOCK) != 0;
}

int ZbSocket::resizeSendBuffer(int fd, int size)
{
    return ::setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
}

int ZbSocket::close(int fd)
{
    return ::close(fd);
}

const char* ZbSocket::strerror()
{
    return std::strerror(errno);
}
