#include <zblib/system/ZbHttpd.h>

#include <zblib/containers/ZbString.h>
#include <zblib/system/ZbSocket.h>

#include <QByteArray>
#include <QList>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr int portCount = 20;
constexpr int backlog = 25;
constexpr auto never = Clock::time_point::max();
constexpr int lineSize = 1024;
constexpr int maxRetries = 5;
constexpr int secondInMs = 1000;
// Pause after a connection that could not be accepted.
constexpr int failureInMs = 100;
// Small enough to be still in the cache when it is sent.
constexpr long pieceSize = 256 * 1024;
// How long a client whose headers are on their way is waited for once it has been answered.
constexpr int headersInMs = 100;
constexpr long maxHeaders = 64 * 1024;

constexpr char get[] = "GET ";
constexpr char version[] = " HTTP";
constexpr char marker[] = "<PLAINTEXT>\r\n";

int milliseconds(Clock::duration duration)
{
    // Rounded up, or the last part of a millisecond would be spent in polling.
    const auto count = std::chrono::ceil<std::chrono::milliseconds>(duration).count();
    return int(std::clamp<long>(count, 0, INT_MAX));
}

// Whether an event comes before the deadline.
bool waitFor(int fd, short event, Clock::time_point deadline)
{
    for (;;) {
        pollfd entry = {fd, event, 0};
        const int timeout = deadline == never ? -1 : milliseconds(deadline - Clock::now());
        const int ready = ::poll(&entry, 1, timeout);
        if (ready > 0)
            return true;
        if (ready < 0 && errno == EINTR)
            continue;
        return false;
    }
}

bool startsWith(const char* text, const char* prefix)
{
    return qstrnicmp(text, prefix, std::strlen(prefix)) == 0;
}

void removeLineEnd(char* line)
{
    size_t length = std::strlen(line);
    for (const char c : {'\n', '\r'})
        if (length > 0 && line[length - 1] == c)
            line[--length] = 0;
}

void decodePercents(char* path)
{
    const auto isDecimal = [](char c) { return c >= '0' && c <= '9'; };
    const auto isHex = [&](char c) {
        return isDecimal(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    };
    char* out = path;
    for (const char* in = path; *in; ++in) {
        if (in[0] == '%' && isHex(in[1]) && isDecimal(in[2])) {
            // Of a letter, too, the low four bits count: that is meant, and so is that the second digit is
            // decimal.
            *out++ = char((unsigned(in[1]) << 4) + unsigned(in[2] - '0'));
            in += 2;
        } else {
            *out++ = *in;
        }
    }
    *out = 0;
}

// What stands behind the last dot, or null.
const char* afterLastDot(const char* path)
{
    const char* const dot = std::strrchr(path, '.');
    return dot ? dot + 1 : nullptr;
}

bool hasKnownType(const char* path)
{
    const char* const extension = afterLastDot(path);
    const auto isExtension = [&](const char* known) { return qstricmp(extension, known) == 0; };
    const char* const known[] = {"HTML", "HTM", "GIF", "PNG", "JPG", "JPEG", "CLASS"};
    return extension && std::any_of(std::begin(known), std::end(known), isExtension);
}

// A tab counts as binary.
bool isBinary(const char* data, long length)
{
    // In blocks without a way out, which the compiler makes wide.
    constexpr long block = 4096;
    for (long start = 0; start < length; start += block) {
        const long end = std::min(start + block, length);
        // As bytes of a signed type, those above 127 are below 32 as well.
        unsigned char found = 0;
        for (long i = start; i < end; ++i) {
            const auto byte = static_cast<signed char>(data[i]);
            found |= static_cast<unsigned char>((byte < 32) & (byte != '\n') & (byte != '\r'));
        }
        if (found)
            return true;
    }
    return false;
}

// What a client sends: a line, of which lineSize - 1 bytes count, and headers, which do not matter.
class Request
{
public:
    explicit Request(int fd) : m_fd(fd) {}

    // Copies the line with its line feed, as far as it counts, into line, which has lineSize bytes. Returns its
    // length, or what recv did where that was 0 or less, -1 after the deadline.
    int receiveLine(char* line, Clock::time_point deadline)
    {
        long length = 0;
        while (length < lineSize - 1 && (length == 0 || m_bytes[length - 1] != '\n')) {
            if (length == m_count)
                if (const long got = receive(deadline); got <= 0)
                    return int(got);
            const long end = std::min<long>(m_count, lineSize - 1);
            const void* const lineFeed = std::memchr(m_bytes + length, '\n', size_t(end - length));
            length = lineFeed ? static_cast<const char*>(lineFeed) - m_bytes + 1 : end;
        }
        std::memcpy(line, m_bytes, size_t(length));
        line[length] = 0;
        m_begin = length;
        m_isLineEmpty = line[length - 1] == '\n';
        return int(length);
    }

    // Takes the headers off the socket, up to the blank line behind them; of those that have not come yet, what
    // does so within a short time.
    //
    // A socket that is closed with bytes in it resets the connection, and the client loses what is still on
    // the way to it.
    void discardHeaders(bool hasHeaders)
    {
        if (endsInPiece())
            return;
        ::shutdown(m_fd, SHUT_WR);
        const auto deadline = Clock::now() + std::chrono::milliseconds(hasHeaders ? headersInMs : 0);
        for (long total = m_count; total < maxHeaders; total += m_count) {
            m_begin = m_count = 0;
            if (receive(deadline) <= 0 || endsInPiece())
                return;
        }
    }

private:
    // Appends to the piece, which has room.
    long receive(Clock::time_point deadline)
    {
        for (;;) {
            const long got = ::recv(m_fd, m_bytes + m_count, sizeof m_bytes - size_t(m_count), MSG_DONTWAIT);
            if (got < 0 && (errno == EINTR || (errno == EAGAIN && waitFor(m_fd, POLLIN, deadline))))
                continue;
            m_count += std::max(got, 0L);
            return got;
        }
    }

    bool endsInPiece()
    {
        for (long i = m_begin; i < m_count; ++i) {
            if (m_bytes[i] == '\n' && m_isLineEmpty)
                return true;
            m_isLineEmpty = m_bytes[i] == '\n' || (m_isLineEmpty && m_bytes[i] == '\r');
        }
        return false;
    }

    int m_fd;
    char m_bytes[4096];          // the latest piece; it begins with the line until headers follow
    long m_count = 0;            // of bytes in the piece
    long m_begin = 0;            // of the headers in the piece
    bool m_isLineEmpty = false;  // the next byte of the headers begins a line
};

// Whether a path, read from left to right, is above the folder that it starts from anywhere.
bool leavesItsStart(const QByteArray& path)
{
    int depth = 0;
    for (const QByteArray& name : path.split('/')) {
        if (name == "..")
            --depth;
        else if (!name.isEmpty() && name != ".")
            ++depth;
        if (depth < 0)
            return true;
    }
    return false;
}

}  // namespace

// One file or text on its way to a client.
struct ZbHttpd::Transfer {
    int fd;
    int retries = 0;  // what succeeds in between does not count against them

    // Returns the number of bytes sent.
    long send(const char* data, long length)
    {
        long sent = 0;
        bool isLate = false;   // a second has passed without room
        bool hadRoom = false;  // said the system, but took nothing
        while (sent < length) {
            // Where there is room, the call itself tells so: it is waited for behind a try that found none.
            const long count = ::send(fd, data + sent, size_t(length - sent), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count >= 0) {
                sent += count;
                isLate = hadRoom = false;
                continue;
            }
            if (errno == EINTR)
                continue;
            if (errno != EAGAIN || (isLate && retries == maxRetries))
                break;
            retries += isLate;
            // The system speaks of room when a good part of its buffer is free, for which a slow client may
            // need longer than it is given: so there is a try whatever the answer.
            const bool hasRoom = waitFor(fd, POLLOUT, Clock::now() + std::chrono::milliseconds(secondInMs));
            if (hasRoom && hadRoom)
                ::sleep(1);  // It is the system that is short of memory.
            isLate = !hasRoom || hadRoom;
            hadRoom = hasRoom;
        }
        if (sent < length)
            std::perror("send");
        return sent;
    }
};

// Closes a descriptor when it goes.
class ZbHttpd::Descriptor
{
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor() { reset(-1); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    void reset(int descriptor)
    {
        if (m_descriptor >= 0)
            ZbSocket::close(m_descriptor);
        m_descriptor = descriptor;
    }
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

class ZbHttpd::File
{
public:
    File() = default;
    ~File() { close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // Opens a file or folder; folder is a descriptor or AT_FDCWD.
    bool open(int folder, const char* name, bool followsLink)
    {
        close();
        // Devices, pipes and sockets are not found, and that is meant: a pipe holds up who opens it, a device
        // may even act on it or never end. They are told by their state, which is looked at again in case that
        // another has come in their place.
        if (::fstatat(folder, name, &m_status, followsLink ? 0 : AT_SYMLINK_NOFOLLOW) != 0 || !isServed())
            return false;
        m_descriptor = ::openat(
            folder, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (followsLink ? 0 : O_NOFOLLOW));
        return m_descriptor >= 0 && ::fstat(m_descriptor, &m_status) == 0 && isServed();
    }
    bool isFolder() const { return S_ISDIR(m_status.st_mode); }
    long size() const { return m_status.st_size; }

    // Fills buffer as far as the file goes. What cannot be read, as a folder, ends there.
    long read(char* buffer, long length, long position) const
    {
        long count = 0;
        while (count < length) {
            const long got = ::pread(m_descriptor, buffer + count, size_t(length - count), position + count);
            if (got == 0 || (got < 0 && errno != EINTR))
                break;
            count += std::max(got, 0L);
            if (position + count == size())
                break;  // or it would take a read more to find that there is no more
        }
        return count;
    }

private:
    bool isServed() const { return isFolder() || S_ISREG(m_status.st_mode); }
    void close()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = -1;
    }

    int m_descriptor = -1;
    struct stat m_status = {};
};

ZbHttpd::ZbHttpd(int port, FILE* log, const char* bindAddress) : m_log(log)
{
    m_server.setBindAddress(bindAddress);
    m_server.openSocket(port, -portCount, backlog);
}

ZbHttpd::~ZbHttpd() = default;

bool ZbHttpd::setDocumentRoot(const char* folder)
{
    m_hasRoot = folder != nullptr;
    m_root = ZbFilename();
    if (!folder)
        return true;
    char* const path = ::realpath(folder, nullptr);
    if (path && ZbFilename(path).isDirectory())
        m_root = ZbFilename(path);
    std::free(path);
    return !m_root.isEmpty();
}

void ZbHttpd::mainLoop()
{
    m_server.blocking();
    m_quit = 0;
    while (!m_quit && m_server.getPort() != -1) {
        const int fd = m_server.accept();
        if (fd >= 0)
            handleRequest(fd);
        else
            // Without descriptors or memory the connection stays where it is: not to be asked for at full speed.
            ::poll(nullptr, 0, failureInMs);
    }
}

void ZbHttpd::handleRequest(int fd)
{
    const auto deadline =
        m_receiveTimeout > 0 ? Clock::now() + std::chrono::milliseconds(m_receiveTimeout) : never;
    const Descriptor connection(fd);  // closed also where a callback throws
    char line[lineSize];
    Request request(fd);
    if (const int length = request.receiveLine(line, deadline); length > 0) {
        // A client that gets no answer has nothing to lose.
        const bool isAnswered = startsWith(line, get);
        const bool hasHeaders = line[length - 1] != '\n' || std::strstr(line, version) != nullptr;
        interprete(fd, line);
        if (isAnswered)
            request.discardHeaders(hasHeaders);
    }
}

void ZbHttpd::interprete(int fd, char* requestLine)
{
    for (FILE* const stream : {m_log, stdout})
        if (stream)
            std::fprintf(stream, "ZbHttpd: received %d: %s\n", fd, requestLine);
    if (!startsWith(requestLine, get)) {
        if (startsWith(requestLine, "QUIT")) {
            std::fputs("Terminating http daemon\n", stderr);
            m_quit = 1;
            m_server.close();
        }
        return;
    }

    char* const path = requestLine + std::strlen(get);
    if (char* const end = std::strstr(path, version))
        *end = 0;
    else
        removeLineEnd(path);
    decodePercents(path);
    if (executeScript(fd, path))
        return;

    ZbFilename page;
    File file;
    if (openPage(path, page, file))
        sendFile(fd, page, file);
    else
        fileNotFound(fd, path, int(std::strlen(path)));
}

bool ZbHttpd::executeScript(int fd, char* path)
{
    const char* const extension = afterLastDot(path);
    if (!scriptCallback || !extension || (qstrcmp(extension, "hx") != 0 && qstrcmp(extension, "iv") != 0))
        return false;
    removeCgiBin(path);
    if (m_hasRoot) {
        ZbFilename resolved;
        if (!resolve(path, resolved)) {
            // Not to be looked for as a file, which would show the script.
            fileNotFound(fd, path, int(std::strlen(path)));
            return true;
        }
        QByteArray script(resolved.getString());
        scriptCallback(script.data(), scriptUserData);
    } else {
        scriptCallback(path, scriptUserData);
    }
    // Line feeds alone are meant.
    constexpr char reply[] = "HTTP/1.0 204\nCache-Control: max-age=1\n\n";
    send(fd, reply, int(sizeof reply - 1));
    return true;
}

void ZbHttpd::fileNotFound(int fd, char* path, int length)
{
    path[length] = 0;
    if (m_log)
        std::fprintf(m_log, "ZbHttpd: could not open %s\n", path);
    const ZbString page(0, "<HTML><BODY>Can't open file %s</BODY></HTML>\n", path);
    send(fd, page.getString(), int(page.length() + 1));  // with its zero: that is meant
}

int ZbHttpd::send(int fd, const char* data, int length)
{
    ZbSocket::nonBlocking(fd);
    return int(Transfer{fd}.send(data, length));
}

// The path of an existing file or folder below the root, without links and dots.
bool ZbHttpd::resolve(const char* path, ZbFilename& resolved) const
{
    // A path that leaves the root on its way would tell which folders there are outside, even if it came back.
    if (m_root.isEmpty() || leavesItsStart(path))
        return false;
    const QByteArray wanted = QByteArray(m_root.getString()) + '/' + path;
    const std::unique_ptr<char, decltype(&std::free)> resolvedPath(::realpath(wanted.constData(), nullptr),
                                                                   &std::free);
    const char* const real = resolvedPath.get();
    if (!real)
        return false;
    const QByteArray root = m_root == "/" ? QByteArray() : QByteArray(m_root.getString());
    const auto length = size_t(root.size());
    const bool isInside = std::strncmp(real, root, length) == 0 && (real[length] == '/' || real[length] == 0);
    if (isInside)
        resolved = ZbFilename(real);
    return isInside;
}

bool ZbHttpd::openFile(const char* path, File& file) const
{
    if (!m_hasRoot)
        return file.open(AT_FDCWD, path, true);
    ZbFilename resolved;
    if (!resolve(path, resolved))
        return false;
    // Somebody may put a link in place of a folder meanwhile, so each step from the root on refuses links.
    Descriptor folder(::open(m_root, O_PATH | O_DIRECTORY | O_CLOEXEC));
    const auto names = QByteArray(resolved.getString()).mid(m_root.length()).split('/');
    QByteArray last;
    for (const QByteArray& name : names) {
        if (name.isEmpty())
            continue;
        if (!last.isEmpty())
            folder.reset(::openat(folder.get(), last, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        last = name;
    }
    return file.open(folder.get(), last.isEmpty() ? "." : last.constData(), false);
}

// Opens path, or the page of a folder, and leaves the name of what is open in page.
bool ZbHttpd::openPage(const char* path, ZbFilename& page, File& file) const
{
    page = ZbFilename(path);
    if (!openFile(path, file))
        return false;
    if (!file.isFolder())
        return true;
    for (const char* const name : {"index.html", "main.html"}) {
        // A folder of that name opens too, but it is no page: that it is passed over is meant.
        page = ZbFilename(path);
        page.appendFile(name);
        if (openFile(page, file) && !file.isFolder())
            return true;
    }
    // A folder reads as an empty file.
    page = ZbFilename(path);
    return openFile(path, file);
}

void ZbHttpd::sendFile(int fd, const char* path, const File& file)
{
    m_piece.resize(pieceSize);
    char* const piece = m_piece.data();
    long count = file.read(piece, pieceSize, 0);
    // The system gives some files no size: they are read to their end, and what they had is known then.
    const bool hasSize = count < pieceSize || file.size() >= count;
    const long length = !hasSize ? std::numeric_limits<long>::max() : count < pieceSize ? count : file.size();
    const auto log = [&](long bytes) {
        if (m_log)
            std::fprintf(m_log, "ZbHttpd: sending file %s (%ld bytes)\n", path, bytes);
    };
    ZbSocket::nonBlocking(fd);
    bool isThere = true;
    if (!hasKnownType(path) && needsMarker(file, count, length))
        isThere = send(fd, marker, sizeof marker - 1) == sizeof marker - 1;
    Transfer transfer{fd};
    if (hasSize)
        log(length);
    // Not by sendfile, which cannot keep SIGPIPE away, and whose client finds the bytes no longer in the cache.
    long position = 0;
    for (; isThere && count > 0 && transfer.send(piece, count) == count;) {
        position += count;
        count = file.read(piece, std::min(pieceSize, length - position), position);
    }
    if (!hasSize)
        log(position);
}

// Whether the file is text that a browser would take for HTML by mistake: no byte of it is binary, and the
// first one that is neither a blank nor a line feed is no "<". Its first count bytes are in m_piece.
bool ZbHttpd::needsMarker(const File& file, long count, long length) const
{
    char next[64 * 1024];
    const char* piece = m_piece.data();
    bool hasBegun = false;
    for (long position = 0; count > 0; piece = next) {
        const char* const end = piece + count;
        const char* const begin = std::find_if(piece, end, [](char c) { return c != ' ' && c != '\n'; });
        if (!hasBegun && begin != end && *begin == '<')
            return false;
        hasBegun |= begin != end;
        if (isBinary(piece, count))
            return false;
        position += count;
        count = file.read(next, std::min(long(sizeof next), length - position), position);
    }
    return true;
}

const char* ZbHttpd::getHost()
{
    static char text[16];
    const auto id = static_cast<unsigned long>(::gethostid());
    const auto byte = [id](int shift) { return int(id >> shift & 0xff); };
    std::snprintf(text, sizeof text, "%d.%d.%d.%d", byte(16), byte(24), byte(0), byte(8));
    return text;
}

void removeCgiBin(char* path)
{
    char* found = std::strstr(path, "cgi-bin");
    if (!found)
        return;
    const char* const rest = found + std::strlen("cgi-bin");
    if (found > path && found[-1] == '/')
        --found;
    std::memmove(found, rest, std::strlen(rest) + 1);
}
