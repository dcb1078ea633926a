#pragma once

#include <zblib/containers/ZbDArray.h>
#include <zblib/containers/ZbFilename.h>
#include <zblib/foundation/ZbExport.h>
#include <zblib/system/ZbServerSocket.h>

#include <cstdio>

/// A responder that sends files over HTTP in its simplest form, and hands script requests to its owner.
///
/// WITHOUT A DOCUMENT ROOT IT SENDS EVERY FILE THAT THE PROCESS CAN READ TO EVERYONE WHO CAN CONNECT, and
/// without a bind address it listens on all addresses of the machine. Anyone who can connect can also end it,
/// by "QUIT", and run the owner's scripts. For a tool on one's own machine, give it "127.0.0.1" and
/// setDocumentRoot(); do not take it for anything that faces a network.
///
/// Replies have no status line and no headers: the bytes of the file come as they are, behind "<PLAINTEXT>"
/// and a line end where they look like text that is not HTML, and the end of the connection ends them.
/// Chromium shows that from port 80 alone, other current browsers may not; curl does, with --http0.9. One
/// connection is served at a time, to its end, on the thread that calls mainLoop(). Only regular files and
/// folders are opened. A file is sent in pieces, so its size does not matter; one that changes meanwhile may
/// come in part old and in part new.
///
/// A client that hangs up ends its transfer and no more, one whose connection has no room for a second, six
/// times in all over a file, as well: a client that reads but some ten kilobytes a second may be among them. A client that sends no request line holds up the responder unless there is a receive timeout. Not
/// thread-safe.
class ZB_API ZbHttpd
{
public:
    /// Listens on the first free port of port to port + 19, or any if port is 0; getPort() is -1 where there
    /// is none. log, if given, receives a line for each file and each failure, and is the caller's.
    /// bindAddress is as in ZbServerSocket::setBindAddress().
    explicit ZbHttpd(int port, FILE* log = nullptr, const char* bindAddress = nullptr);
    virtual ~ZbHttpd();
    ZbHttpd(const ZbHttpd&) = delete;
    ZbHttpd& operator=(const ZbHttpd&) = delete;

    /// The port that it listens on, or -1, also after a "QUIT".
    int getPort() const noexcept { return m_server.getPort(); }

    /// Confines the responder to a folder: paths of requests start there, and what lies elsewhere, also by
    /// way of ".." or links, is not found. This goes for scripts as well, whose callback then gets the path
    /// of the file, without links. Null, the default, lifts the restriction. Returns false for a name that is
    /// no folder; then nothing is found.
    bool setDocumentRoot(const char* folder);
    /// Gives up on a client whose request line has not come whole within so many milliseconds; 0, the
    /// default, never.
    void setReceiveTimeout(int milliseconds) { m_receiveTimeout = milliseconds; }

    /// Serves until a request says "QUIT", which closes the responder for good; returns at once when closed.
    void mainLoop();

    // The steps of a request, in order. Descriptors are sockets.

    /// Receives the request line, of which 1023 bytes count, answers it, and closes fd.
    ///
    /// What follows the line does not matter, but where there was an answer it is taken off the socket, up to
    /// the blank line behind the headers, 64 KiB, or a tenth of a second: or the system would cut the answer
    /// short, as it does on a connection that is closed with bytes in it.
    void handleRequest(int fd);
    /// Answers a request line, which is changed on the way. Prints it on standard output too.
    void interprete(int fd, char* requestLine);
    /// Answers a path that ends in ".hx" or ".iv", in small letters, if there is a callback; otherwise
    /// returns false. path, which is changed on the way, goes to the callback without "cgi-bin".
    bool executeScript(int fd, char* path);
    /// Sends the page for the first length bytes of path, which is cut there, and a zero byte.
    void fileNotFound(int fd, char* path, int length);
    /// Makes fd non-blocking and sends all bytes, waiting for room where there is none. A try that a second
    /// without room goes before, and that finds none, has failed; after five of these in all the next, as any
    /// other failure at once, ends it with an error on standard error. Returns the number of bytes sent.
    int send(int fd, const char* data, int length);

    /// The number of gethostid() as "a.b.c.d", in a buffer that the next call fills again.
    static const char* getHost();

private:
    struct Transfer;
    class Descriptor;
    class File;

    bool openFile(const char* path, File& file) const;
    bool openPage(const char* path, ZbFilename& page, File& file) const;
    bool resolve(const char* path, ZbFilename& resolved) const;
    void sendFile(int fd, const char* path, const File& file);
    bool needsMarker(const File& file, long count, long length) const;

    ZbServerSocket m_server{1};
    FILE* m_log;  // not owned; may be null
    int m_quit = 0;

public:
    /// Passed to the callback.
    void* scriptUserData = nullptr;
    /// Called with the path of a script, on the thread of mainLoop().
    void (*scriptCallback)(char* path, void* userData) = nullptr;

private:
    bool m_hasRoot = false;
    ZbFilename m_root;  // absolute, without links; empty: nothing is found
    int m_receiveTimeout = 0;
    ZbDArray<char> m_piece;  // of a file; made for the first one
};

/// Removes the first "cgi-bin" from path, and the "/" in front of it.
ZB_API void removeCgiBin(char* path);
