#pragma once

#include <zblib/containers/ZbString.h>
#include <zblib/foundation/ZbExport.h>

/// Plain TCP sockets, as descriptors of the system.
///
/// For small tools and tests that talk to a ZbHttpd or to anything else line by line; take QTcpSocket where
/// there is an event loop. The caller owns the descriptors. Nothing here throws but for want of memory or
/// prints; what fails returns -1 and leaves the cause in errno. A peer that has hung up makes send() fail, it
/// raises no SIGPIPE. Functions keep no state: threads may use different descriptors at once, connect() by
/// host name excepted.
class ZB_API ZbSocket
{
public:
    /// Comes before the first connect(); systems that need no preparation do nothing.
    static void initSocketLayer() {}
    /// A socket that is connected to the host, by IPv4 address or name, or -1. Null stands for this machine
    /// by its name.
    static int connect(const char* host, int port);

    /// Receives size bytes, or with lineMode a line: up to and with its line feed, or its first size - 1
    /// bytes, and a terminating zero, behind which buffer is arbitrary.
    ///
    /// Makes fd blocking. Returns how many bytes there are without that zero; 0 at once where size leaves no
    /// room (size below 1, in line mode below 2). Where the peer ends first or the connection fails, returns
    /// what recv did, 0 or -1: buffer then holds what had arrived, without a terminating zero. Nothing behind
    /// the line is taken off the socket.
    static int receive(int fd, char* buffer, int size, int lineMode);
    /// Replaces line by the next one, with its line feed, however long; the rest is as in receive(). Returns
    /// its length.
    static long readLine(int fd, ZbString& line);
    /// Sends the text that printf(format, ...) makes, without its terminating zero, in one call of the
    /// system's send; returns what that did, which may be less than the text.
    static long send(int fd, const char* format, ...) __attribute__((format(printf, 2, 3)));

    /// 0, or -1 for a descriptor that is none.
    static int blocking(int fd);
    static int nonBlocking(int fd);
    static bool isNonBlocking(int fd);
    /// The system doubles size, in bytes, for its own needs, and has limits.
    static int resizeSendBuffer(int fd, int size);
    static int close(int fd);
    /// The text for the current errno.
    static const char* strerror();
};
