#pragma once

#include <zblib/foundation/ZbExport.h>

#include <cstdint>

/// A TCP socket that listens, on the first free port of a range.
///
/// Listens on all addresses of the machine unless setBindAddress() says otherwise. Owns its descriptor.
/// Nothing here throws; errors are printed on standard error where the socket was made verbose. Not
/// thread-safe.
class ZB_API ZbServerSocket
{
public:
    /// A closed socket; verbose other than 0 prints errors.
    explicit ZbServerSocket(int verbose);
    /// Ends the connections in waiting and closes.
    ~ZbServerSocket();
    // A descriptor has one owner.
    ZbServerSocket(const ZbServerSocket&) = delete;
    ZbServerSocket& operator=(const ZbServerSocket&) = delete;

    /// Listens on one IPv4 address, "127.0.0.1" for this machine alone, from the next openSocket() on; null
    /// is all addresses. Returns false, and the next openSocket() fails, for any other text.
    bool setBindAddress(const char* address);

    /// Binds and listens; backlog is the number of connections that may wait. Returns the port or -1.
    ///
    /// With tries below 0, takes the first port that is free of -tries, from port on. Otherwise tries the
    /// same port so often, with a second's sleep after each failure. Port 0 is any that is free. Errors are
    /// "socket", "gethostbyname" (the machine's name has no address, which matters only to a socket for all
    /// addresses, and keeps the socket open until close()), "bind" and "listen".
    int openSocket(int port, int tries, int backlog);
    /// The next connection, which the caller owns, or -1. Errors are "accept"; that none is waiting is none.
    int accept();

    /// 0, or -1 for a closed socket.
    int blocking();
    int nonBlocking();
    bool isNonBlocking() const;
    void close();

    /// The port that it listens on, or -1.
    int getPort() const noexcept { return m_port; }
    /// Prints "context: text of errno" if verbose, and keeps errno. Null stands for "ZbServerSocket".
    void error(const char* context) const;

private:
    bool bindTo(int port) const;
    int boundPort() const;

    int m_verbose;
    int m_port = -1;
    int m_descriptor = -1;
    uint32_t m_address = 0;  // in network order; 0: all
    bool m_hasAddress = false;
    bool m_isAddressWrong = false;
};
