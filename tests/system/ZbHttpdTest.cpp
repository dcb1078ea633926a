#include <zblib/system/ZbHttpd.h>

#include "SystemCalls.h"

#include <zblib/system/ZbSocket.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using namespace std::string_literals;

std::string notFound(const std::string& path)
{
    return "<HTML><BODY>Can't open file " + path + "</BODY></HTML>\n" + '\0';
}

const std::string marker = "<PLAINTEXT>\r\n";

std::string receiveAll(int fd)
{
    std::string text;
    char piece[65536];
    for (;;) {
        const ssize_t count = ::recv(fd, piece, sizeof piece, 0);
        if (count <= 0)
            return count == 0 ? text : text + " (" + std::strerror(errno) + ")";
        text.append(piece, size_t(count));
    }
}

// Bytes with every value in them, the same each time.
std::string bytes(size_t size)
{
    std::string text(size, 0);
    for (size_t i = 0; i < size; ++i)
        text[i] = char(i * 7 + i / 251);
    return text;
}

// A folder for files to serve, and one beside it that a document root hides.
struct ZbHttpdTest : ::testing::Test {
    ZbHttpdTest()
    {
        char name[] = "/tmp/zbhttpdXXXXXX";
        base = mkdtemp(name);
        root = base + "/root";
        fs::create_directory(root);
    }
    ~ZbHttpdTest() override
    {
        quit();
        fs::remove_all(base);
    }

    std::string write(const std::string& name, const std::string& content)
    {
        const std::string path = root + "/" + name;
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    void start()
    {
        ASSERT_GT(httpd.getPort(), 0);
        port = httpd.getPort();
        thread = std::thread([this] { httpd.mainLoop(); });
    }
    void quit()
    {
        if (!thread.joinable())
            return;
        EXPECT_EQ(request("QUIT\r\n"), "");
        thread.join();
    }
    template <typename Requests>
    void whileServing(ZbHttpd& other, Requests requests)
    {
        port = other.getPort();
        std::thread loop([&] { other.mainLoop(); });
        requests();
        request("QUIT\n");
        loop.join();
    }
    int connect() const { return ZbSocket::connect("127.0.0.1", port); }
    std::string request(const std::string& text) const
    {
        const int fd = connect();
        EXPECT_EQ(::send(fd, text.data(), text.size(), MSG_NOSIGNAL), ssize_t(text.size()));
        const std::string reply = receiveAll(fd);
        close(fd);
        return reply;
    }
    std::string get(const std::string& path) const
    {
        return request("GET " + path + " HTTP/1.0\r\nA: b\r\n\r\n");
    }

    std::string base;
    std::string root;
    ZbHttpd httpd{0, nullptr, "127.0.0.1"};
    int port = -1;
    std::thread thread;
};

}  // namespace

TEST_F(ZbHttpdTest, sendsFilesWithAMarkerInFrontOfPlainText)
{
    const std::string blanks(300000, ' ');
    const std::string long_text(300000, 'x');
    const struct {
        const char* name;
        std::string content;
        bool hasMarker;
    } files[] = {
        {"page.html", "plain", false},
        {"page.HtM", "plain", false},
        {"picture.jpeg", "plain", false},
        {"A.class", "plain", false},
        {"a.txt", "plain\r\n\x7f", true},
        {"none", "plain", true},
        {"dotted.html/a.txt", "plain", true},
        {"tab.txt", "a\tb", false},
        {"high.txt", "a\x80", false},
        {"zero.txt", "a\0b"s, false},
        {"markup.txt", "\n  \n<b>", false},
        {"return.txt", "\r\n<b>", true},
        {"empty.txt", "", true},
        {"empty.gif", "", false},
        {"blanks.txt", " \n", true},
        {"long.txt", long_text, true},
        {"long_tab.txt", long_text + "\t", false},
        {"long_markup.txt", blanks + "<", false},
        {"long_blanks.txt", blanks + "x<", true},
        {"piece.dat", bytes(256 * 1024), false},
        {"pieces.txt", std::string(256 * 1024, 'x') + "<" + std::string(256 * 1024, 'x'), true},
        {"large.bin", bytes(5000000), false},
    };
    start();
    for (const auto& [name, content, hasMarker] : files) {
        const std::string path = write(name, content);
        EXPECT_TRUE(get(path) == (hasMarker ? marker : "") + content) << name;
    }
}

TEST_F(ZbHttpdTest, readsPathsOfRequests)
{
    for (const char* name : {"page.html", "a b.html", "a%2Fb.html", "x%2.html", "%25 .html", "\x10.html",
                             "\xef.html", "a\rb.html", "folder/index.html", "folder/main.html",
                             "other/main.html", "index/index.html/x", "index/main.html"})
        write(name, std::string("<") + name);
    fs::create_directory(root + "/bare");
    mkfifo((root + "/pipe").c_str(), 0600);
    const auto path = [&](const char* name) { return root + "/" + name; };
    const struct {
        std::string request;
        std::string reply;
    } cases[] = {
        {"GET " + path("page.html") + " HTTP/1.0\r\n\r\n", "<page.html"},
        {"get " + path("page.html") + " HTTP/1.0\r\n\r\n", "<page.html"},
        {"get " + path("page.html") + "\r\n", "<page.html"},
        {"GET " + path("page.html") + "\n", "<page.html"},
        {"GET " + path("page.html") + " HTTP x HTTP/1.0\r\n", "<page.html"},
        {"GET " + path("page.html") + "\0 junk HTTP/1.0\r\n"s, "<page.html"},
        {"GET " + path("page.html") + "%00junk HTTP/1.0\r\n", "<page.html"},
        {"GET " + path("a\rb.html") + " HTTP/1.0\r\n", "<a\rb.html"},
        {"GET " + path("a\rb.html") + "\r\n", "<a\rb.html"},
        {"GET " + path("page.html") + "\n HTTP/1.0\r\n", "<page.html"},
        {"GET " + path("page.html") + "\r HTTP/1.0\r\n", notFound(path("page.html\r"))},
        {"GET " + path("page.html") + " http/1.0\r\n", notFound(path("page.html http/1.0"))},
        {"GET  " + path("page.html") + " HTTP/1.0\r\n", notFound(" " + path("page.html"))},
        {"GET " + path("a%20b.html") + " HTTP/1.0\r\n", "<a b.html"},
        {"GET " + path("a%2Fb.html") + " HTTP/1.0\r\n", "<a%2Fb.html"},
        {"GET " + path("x%2.html") + " HTTP/1.0\r\n", "<x%2.html"},
        {"GET " + path("%25%20.html") + " HTTP/1.0\r\n", "<%25 .html"},
        {"GET " + path("%A0.html") + " HTTP/1.0\r\n", "<\x10.html"},
        {"GET " + path("folder") + " HTTP/1.0\r\n", "<folder/index.html"},
        {"GET " + path("other/") + " HTTP/1.0\r\n", "<other/main.html"},
        {"GET " + path("index") + " HTTP/1.0\r\n", "<index/main.html"},
        {"GET " + path("bare") + " HTTP/1.0\r\n", marker},
        {"GET " + path("none%") + " HTTP/1.0\r\n", notFound(path("none%"))},
        {"GET " + path("page.html/") + " HTTP/1.0\r\n", notFound(path("page.html/"))},
        {"GET " + path("pipe") + " HTTP/1.0\r\n", notFound(path("pipe"))},
        {"GET /dev/zero HTTP/1.0\r\n", notFound("/dev/zero")},
        {"GET  HTTP/1.0\r\n", notFound("")},
        {"GET HTTP/1.0\r\n", notFound("HTTP/1.0")},
        {"GET\r\n", ""},
        {"POST " + path("page.html") + " HTTP/1.0\r\n\r\n", ""},
        {"\n", ""},
    };
    // %25 and a digit decode to "%" and not again.
    fs::rename(root + "/%25 .html", root + "/% .html");
    write("% .html", "<%25 .html");
    start();
    for (const auto& [request, reply] : cases)
        EXPECT_EQ(this->request(request), reply) << request;
}

TEST_F(ZbHttpdTest, handsScriptsToItsOwner)
{
    const std::string reply = "HTTP/1.0 204\nCache-Control: max-age=1\n\n";
    std::vector<std::string> scripts;
    httpd.scriptUserData = &scripts;
    start();
    EXPECT_EQ(get("/data/run.hx"), notFound("/data/run.hx"));
    quit();

    const auto makeOwner = [&] {
        auto owner = std::make_unique<ZbHttpd>(0, nullptr, "127.0.0.1");
        owner->scriptUserData = &scripts;
        owner->scriptCallback = [](char* path, void* data) {
            static_cast<std::vector<std::string>*>(data)->push_back(path);
            path[0] = '#';
        };
        return owner;
    };
    whileServing(*makeOwner(), [&] {
        for (const char* path : {"/data/run.hx", "/cgi-bin/data/a%20b.iv", "data/cgi-bin.hx"})
            EXPECT_EQ(get(path), reply) << path;
        EXPECT_EQ(request("GET /data/run.hx\r\n"), reply);
        for (const char* path : {"/data/run.HX", "/data/run.hx/", "/run.hxx", "/hx"})
            EXPECT_EQ(get(path), notFound(path));
    });
    EXPECT_EQ(scripts, (std::vector<std::string>{"/data/run.hx", "/data/a b.iv", "data.hx", "/data/run.hx"}));

    // With a root, scripts are files in it.
    scripts.clear();
    write("in.hx", "secret");
    write("cgi-bin/deep.hx", "secret");
    fs::create_directory(base + "/root2");
    for (const char* name : {"/out.hx", "/root2/out.hx"})
        std::ofstream(base + name) << "secret";
    const auto confined = makeOwner();
    ASSERT_TRUE(confined->setDocumentRoot(root.c_str()));
    whileServing(*confined, [&] {
        EXPECT_EQ(get("/cgi-bin/in.hx"), reply);
        EXPECT_EQ(get("/cgi-bin/deep.hx"), notFound("/deep.hx"));
        for (const char* path : {"/../out.hx", "/../root2/out.hx"})
            EXPECT_EQ(get(path), notFound(path));
    });
    EXPECT_EQ(scripts, std::vector<std::string>{fs::canonical(root).string() + "/in.hx"});
}

TEST_F(ZbHttpdTest, findsNothingOutsideOfItsRoot)
{
    write("page.html", "inside");
    write("deep/page.html", "deep");
    write("linked/main.html", "main");
    const std::string secret = base + "/secret.html";
    std::ofstream(secret) << "secret";
    fs::create_directory(base + "/root2");
    std::ofstream(base + "/root2/secret.html") << "secret";
    fs::create_symlink(secret, root + "/link.html");
    fs::create_symlink("../secret.html", root + "/relative.html");
    fs::create_symlink(base, root + "/up");
    fs::create_symlink(root + "/page.html", root + "/own.html");
    fs::create_symlink("deep", root + "/shallow");
    fs::create_symlink(secret, root + "/linked/index.html");
    fs::create_symlink("loop", root + "/loop");

    ASSERT_TRUE(httpd.setDocumentRoot((root + "/deep/..").c_str()));
    start();
    const std::pair<const char*, const char*> found[] = {
        {"/page.html", "inside"}, {"page.html", "inside"},        {"//deep/../page.html", "inside"},
        {"/own.html", "inside"},  {"/shallow/page.html", "deep"}, {"/linked", "main"}};
    for (const auto& [path, content] : found)
        EXPECT_EQ(get(path), content) << path;
    EXPECT_EQ(get("/"), marker);
    for (const std::string& path :
         {"/../secret.html"s, "/deep/../../secret.html"s, "/../root2/secret.html"s, "/link.html"s,
          "/relative.html"s, "/up/secret.html"s, "/up"s, "/.."s, "/loop"s, "/shallow/../../secret.html"s,
          secret, "/" + secret, "/../root/up/secret.html"s, "/../root/page.html"s, "/linked/index.html"s})
        EXPECT_EQ(get(path), notFound(path));
    EXPECT_EQ(get("/%2E%2E/secret.html"), notFound("/%2E%2E/secret.html"));
    EXPECT_EQ(get("/%2e./secret.html"), notFound("/%2e./secret.html"));
    EXPECT_EQ(get("/..%20/../../secret.html"), notFound("/.. /../../secret.html"));
    quit();

    for (const std::string& wrong : {secret, base + "/none"}) {
        ZbHttpd closed(0, nullptr, "127.0.0.1");
        EXPECT_FALSE(closed.setDocumentRoot(wrong.c_str()));
        whileServing(closed, [&] {
            EXPECT_EQ(get(secret), notFound(secret));
            EXPECT_EQ(get("/"), notFound("/"));
        });
    }
    for (const char* all : {"/", static_cast<const char*>(nullptr)}) {
        ZbHttpd open(0, nullptr, "127.0.0.1");
        EXPECT_TRUE(open.setDocumentRoot(root.c_str()));
        EXPECT_TRUE(open.setDocumentRoot(all));
        whileServing(open, [&] { EXPECT_EQ(get(secret), "secret"); });
    }
}

TEST_F(ZbHttpdTest, survivesItsClients)
{
    const std::string large = write("large.bin", "");
    fs::resize_file(large, 64 * 1024 * 1024);
    const std::string page = write("page.html", "fine");
    httpd.setReceiveTimeout(60);
    start();
    const auto started = Clock::now();

    const int silent = connect();
    EXPECT_EQ(get(page), "fine");
    EXPECT_EQ(receiveAll(silent), "");
    close(silent);

    const int slow = connect();
    std::string line = "GET " + page + " HTTP/1.0\r\n\r\n";
    size_t sent = 0;
    while (sent < line.size() && ::send(slow, &line[sent], 1, MSG_NOSIGNAL) == 1 && ++sent < 60)
        std::this_thread::sleep_for(milliseconds(10));
    EXPECT_LT(sent, line.size());
    EXPECT_EQ(get(page), "fine");
    close(slow);

    const int gone = connect();
    ZbSocket::send(gone, "GET %s HTTP/1.0\r\n\r\n", large.c_str());
    char first[1000];
    EXPECT_EQ(::recv(gone, first, sizeof first, MSG_WAITALL), 1000);
    close(gone);
    EXPECT_EQ(get(page), "fine");

    const int rude = connect();
    ZbSocket::send(rude, "GET %s HTTP/1.0", page.c_str());
    close(rude);
    const int endless = connect();
    const std::string flood(10 * 1024 * 1024, 'x');
    ::send(endless, "GET ", 4, MSG_NOSIGNAL);
    ::send(endless, flood.data(), flood.size(), MSG_NOSIGNAL);
    char reply[28];
    EXPECT_EQ(::recv(endless, reply, sizeof reply, MSG_WAITALL), 28);
    EXPECT_EQ(std::string(reply, 28), notFound("").substr(0, 28));
    close(endless);
    EXPECT_EQ(get(page), "fine");
    EXPECT_LT(Clock::now() - started, std::chrono::seconds(20));
}

TEST_F(ZbHttpdTest, answersWholeWhateverElseTheRequestHolds)
{
    const std::string content = bytes(3000000);
    const std::string path = write("large.bin", content);
    start();
    EXPECT_TRUE(request("GET " + path + " HTTP/1.1\r\nCookie: " + std::string(30000, 'x') + "\r\n\r\n") ==
                content);
    // Headers that come behind the answer.
    const int fd = connect();
    ZbSocket::send(fd, "GET %s HTTP/1.1\r\n", path.c_str());
    char first;
    EXPECT_EQ(::recv(fd, &first, 1, MSG_PEEK), 1);
    ZbSocket::send(fd, "Host: x\r\n\r\n");
    EXPECT_TRUE(receiveAll(fd) == content);
    close(fd);
}

TEST_F(ZbHttpdTest, endsOnQuit)
{
    start();
    testing::internal::CaptureStderr();
    EXPECT_EQ(request("quit please\r\n"), "");
    thread.join();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Terminating http daemon\n");
    EXPECT_EQ(httpd.getPort(), -1);
    EXPECT_EQ(connect(), -1);
    httpd.mainLoop();
}

TEST_F(ZbHttpdTest, tellsWhatItDoes)
{
    const std::string path = write("a b.bin", bytes(300000));
    char* text = nullptr;
    size_t size = 0;
    FILE* const log = open_memstream(&text, &size);
    ZbHttpd loud(0, log, "127.0.0.1");
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    std::thread reader([&] { receiveAll(ends[1]); });
    testing::internal::CaptureStdout();
    for (const std::string& line : {"GET " + root + "/a%20b.bin HTTP/1.0\r\n", "GET /no%%ne"s, "%n"s}) {
        std::string copy = line;
        loud.interprete(ends[0], copy.data());
    }
    const std::string fd = std::to_string(ends[0]);
    const std::string received[] = {"ZbHttpd: received " + fd + ": GET " + root + "/a%20b.bin HTTP/1.0\r\n\n",
                                    "ZbHttpd: received " + fd + ": GET /no%%ne\n",
                                    "ZbHttpd: received " + fd + ": %n\n"};
    EXPECT_EQ(testing::internal::GetCapturedStdout(), received[0] + received[1] + received[2]);
    std::fclose(log);
    EXPECT_EQ(std::string(text, size), received[0] + "ZbHttpd: sending file " + path + " (300000 bytes)\n" +
                                           received[1] + "ZbHttpd: could not open /no%%ne\n" + received[2]);
    std::free(text);
    close(ends[0]);
    reader.join();
    close(ends[1]);
}

TEST_F(ZbHttpdTest, tellsTheLengthOfFilesToWhichTheSystemGivesNone)
{
    // A list of memory that is longer than what is read at once.
    constexpr size_t page = 4096, count = 8000;
    void* const memory = mmap(nullptr, page * count, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    for (size_t i = 0; i < count; i += 2)
        mprotect(static_cast<char*>(memory) + page * i, page, PROT_READ);
    const std::string name = base + "/log";
    FILE* const log = std::fopen(name.c_str(), "w");
    ZbHttpd loud(0, log, "127.0.0.1");
    size_t length = 0;
    whileServing(loud, [&] { length = get("/proc/self/maps").size() - marker.size(); });
    std::fclose(log);
    munmap(memory, page * count);
    EXPECT_GT(length, 256 * 1024U);
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    EXPECT_NE(text.str().find("sending file /proc/self/maps (" + std::to_string(length) + " bytes)\n"),
              std::string::npos)
        << text.str();
}

TEST_F(ZbHttpdTest, waitsWhereItCannotAccept)
{
    port = httpd.getPort();
    const int fd = connect();
    ZbSocket::send(fd, "GET %s\r\n", write("page.html", "fine").c_str());
    testing::internal::CaptureStderr();
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    rlimit none = limit;
    none.rlim_cur = 0;
    setrlimit(RLIMIT_NOFILE, &none);
    int pauses = 0;
    SystemCalls::onPoll = [&]() -> std::optional<int> {
        if (++pauses == 3)
            setrlimit(RLIMIT_NOFILE, &limit);
        return pauses <= 3 ? std::optional(0) : std::nullopt;
    };
    start();
    EXPECT_EQ(receiveAll(fd), "fine");
    quit();
    SystemCalls::onPoll = nullptr;
    close(fd);
    const std::string line = "accept: Too many open files\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line + line + "Terminating http daemon\n");
}

TEST_F(ZbHttpdTest, takesTheNextPortWhereOneIsBusy)
{
    const ZbHttpd next(httpd.getPort(), nullptr);
    EXPECT_GT(next.getPort(), httpd.getPort());
    EXPECT_LT(next.getPort(), httpd.getPort() + 20);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ZbHttpd(0, nullptr, "everywhere").getPort(), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "bind: Invalid argument\n");
}

namespace
{

// A client that acts where the responder waits for room: it takes what there is in the steps "a" and "s", and
// the poll tells of room in the steps "a" and "r".
struct ZbHttpdSend : ::testing::Test {
    ZbHttpdSend()
    {
        socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
        ZbSocket::resizeSendBuffer(ends[0], 4096);
        ZbSocket::nonBlocking(ends[1]);
    }
    ~ZbHttpdSend() override
    {
        close(ends[0]);
        close(ends[1]);
    }
    // Sends size bytes; steps are repeated. Returns whether all have come; what was printed is in printed.
    bool receives(size_t size, const std::string& steps)
    {
        ZbHttpd httpd(0, nullptr, "127.0.0.1");
        const std::string data = bytes(size);
        std::string received;
        polls = SystemCalls::sleeps = 0;
        const auto take = [&] {
            char piece[65536];
            for (ssize_t count; (count = ::recv(ends[1], piece, sizeof piece, 0)) > 0;)
                received.append(piece, size_t(count));
        };
        SystemCalls::onPoll = [&] {
            const char step = steps[size_t(polls++) % steps.size()];
            if (step == 'a' || step == 's')
                take();
            return step == 'a' || step == 'r' ? 1 : 0;
        };
        testing::internal::CaptureStderr();
        const int sent = httpd.send(ends[0], data.data(), int(data.size()));
        printed = testing::internal::GetCapturedStderr();
        SystemCalls::onPoll = nullptr;
        take();
        EXPECT_EQ(received, data.substr(0, size_t(sent)));
        return received.size() == size;
    }

    int ends[2];
    int polls = 0;
    std::string printed;
};

}  // namespace

TEST_F(ZbHttpdSend, givesUpAfterSixSecondsWithoutRoom)
{
    const struct {
        std::string steps;
        bool isWhole;
        int polls;  // 0: any number
        int sleeps;
    } cases[] = {
        {"a", true, 0, 0},
        {"s", true, 0, 0},  // never the room that poll asks for, but some
        {"-", false, 6, 0},
        {"a-", false, 12, 0},  // what succeeds in between does not count against the failures
        {"-----" + std::string(1000, 'a'), true, 0, 0},
        {"r", false, 7, 6},  // room that is none, as for want of memory
    };
    for (const auto& [steps, isWhole, waits, sleeps] : cases) {
        EXPECT_EQ(receives(1000000, steps), isWhole) << steps;
        EXPECT_EQ(printed, isWhole ? "" : "send: Resource temporarily unavailable\n");
        EXPECT_TRUE(waits == 0 ? polls > 4 : polls == waits) << steps << ": " << polls;
        EXPECT_EQ(SystemCalls::sleeps, sleeps) << steps;
    }
}

TEST_F(ZbHttpdSend, endsAtOnceWhereTheClientHasHungUp)
{
    close(ends[1]);
    ends[1] = -1;
    ZbHttpd httpd(0, nullptr, "127.0.0.1");
    testing::internal::CaptureStderr();
    EXPECT_EQ(httpd.send(ends[0], "text", 4), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "send: Broken pipe\n");
    EXPECT_TRUE(ZbSocket::isNonBlocking(ends[0]));
}

TEST(ZbHttpd, removesTheFirstFolderOfScripts)
{
    const std::pair<const char*, const char*> cases[] = {{"/cgi-bin/data/run.hx", "/data/run.hx"},
                                                         {"cgi-bin/run.hx", "/run.hx"},
                                                         {"/a/cgi-bin", "/a"},
                                                         {"/xcgi-bin/cgi-bin/y", "/x/cgi-bin/y"},
                                                         {"/CGI-BIN/x", "/CGI-BIN/x"},
                                                         {"cgi-bin", ""},
                                                         {"", ""}};
    for (const auto& [path, expected] : cases) {
        std::string text = path;
        removeCgiBin(text.data());
        EXPECT_STREQ(text.c_str(), expected);
    }
}

TEST(ZbHttpd, tellsTheNumberOfItsHost)
{
    SystemCalls::hostId = 0x01020304;
    EXPECT_STREQ(ZbHttpd::getHost(), "2.1.4.3");
    SystemCalls::hostId = int(0xfffefdfc);
    EXPECT_STREQ(ZbHttpd::getHost(), "254.255.252.253");
}
