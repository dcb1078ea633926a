#include <zblib/system/ZbSocket.h>

#include "SystemCalls.h"

#include <zblib/system/ZbServerSocket.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include <sys/socket.h>
#include <unistd.h>

namespace
{

struct ZbSocketPair : ::testing::Test {
    ZbSocketPair() { socketpair(AF_UNIX, SOCK_STREAM, 0, ends); }
    ~ZbSocketPair() override
    {
        close(ends[0]);
        hangUp();
    }
    void write(const std::string& text)
    {
        ASSERT_EQ(::send(ends[1], text.data(), text.size(), 0), ssize_t(text.size()));
    }
    void hangUp()
    {
        if (ends[1] != -1)
            close(ends[1]);
        ends[1] = -1;
    }

    int ends[2];
    int& fd = ends[0];
};

}  // namespace

TEST_F(ZbSocketPair, receivesLinesUpToTheirEndOrTheSizeOfTheBuffer)
{
    write(std::string("one\n\ntwo\0\nabcdefgh\n", 19));
    const struct {
        int size;
        std::string line;
    } cases[] = {{8, "one\n"}, {8, "\n"}, {8, std::string("two\0\n", 5)},
                 {4, "abc"},   {2, "d"},  {6, "efgh\n"}};
    for (const auto& [size, line] : cases) {
        SCOPED_TRACE(line);
        char buffer[10];
        ASSERT_EQ(ZbSocket::receive(fd, buffer, size, 1), int(line.size()));
        EXPECT_EQ(std::string(buffer, line.size() + 1), line + '\0');
    }
    char buffer = '#';
    EXPECT_EQ(ZbSocket::receive(fd, &buffer, 1, 1), 0);
    EXPECT_EQ(ZbSocket::receive(fd, &buffer, 0, 0), 0);
    EXPECT_EQ(buffer, '#');
}

TEST_F(ZbSocketPair, receivesWholeBlocks)
{
    write("abc\ndefg");
    char buffer[4] = {};
    ASSERT_EQ(ZbSocket::receive(fd, buffer, 4, 0), 4);
    EXPECT_EQ(std::string(buffer, 4), "abc\n");
    ASSERT_EQ(ZbSocket::receive(fd, buffer, 3, 0), 3);
    EXPECT_EQ(std::string(buffer, 4), "def\n");
}

TEST_F(ZbSocketPair, givesWhatRecvDidWhereThePeerEndsFirst)
{
    write("half");
    hangUp();
    char buffer[8] = "#######";
    EXPECT_EQ(ZbSocket::receive(fd, buffer, 8, 1), 0);
    EXPECT_STREQ(buffer, "half###");
    EXPECT_EQ(ZbSocket::receive(fd, buffer, 8, 0), 0);
    EXPECT_EQ(ZbSocket::receive(-1, buffer, 8, 1), -1);
    ZbString line;
    EXPECT_EQ(ZbSocket::readLine(fd, line), 0);
    EXPECT_EQ(ZbSocket::readLine(-1, line), -1);
}

TEST_F(ZbSocketPair, readsLinesOfAnyLength)
{
    const std::string text(10000, 'x');
    write("short\n" + text + "\nrest");
    ZbString line("old");
    EXPECT_EQ(ZbSocket::readLine(fd, line), 6);
    EXPECT_STREQ(line, "short\n");
    EXPECT_EQ(ZbSocket::readLine(fd, line), 10001);
    EXPECT_EQ(line.getString(), text + "\n");
    hangUp();
    EXPECT_EQ(ZbSocket::readLine(fd, line), 0);
    EXPECT_STREQ(line, "rest");
}

TEST_F(ZbSocketPair, sendsFormattedText)
{
    EXPECT_EQ(ZbSocket::send(fd, "%d %s", 12, "apples"), 9);
    char buffer[16] = {};
    EXPECT_EQ(::recv(ends[1], buffer, sizeof buffer, 0), 9);
    EXPECT_STREQ(buffer, "12 apples");
    hangUp();
    EXPECT_EQ(ZbSocket::send(fd, "nobody"), -1);
    EXPECT_STREQ(ZbSocket::strerror(), std::strerror(EPIPE));
}

TEST_F(ZbSocketPair, blocksOrNot)
{
    EXPECT_FALSE(ZbSocket::isNonBlocking(fd));
    EXPECT_EQ(ZbSocket::nonBlocking(fd), 0);
    EXPECT_TRUE(ZbSocket::isNonBlocking(fd));
    write("x\n");
    char buffer[4];
    EXPECT_EQ(ZbSocket::receive(fd, buffer, 4, 1), 2);
    EXPECT_FALSE(ZbSocket::isNonBlocking(fd));
    EXPECT_EQ(ZbSocket::blocking(-1), -1);
    EXPECT_FALSE(ZbSocket::isNonBlocking(-1));

    int size = 0;
    socklen_t length = sizeof size;
    EXPECT_EQ(ZbSocket::resizeSendBuffer(fd, 20000), 0);
    getsockopt(fd, SOL_SOCKET, SO_SNDBUF, &size, &length);
    EXPECT_GE(size, 20000);
}

TEST(ZbSocket, connectsByAddressByNameAndToItself)
{
    ZbServerSocket server(1);
    const int port = server.openSocket(0, -1, 5);
    ASSERT_GT(port, 0);
    ZbSocket::initSocketLayer();
    for (const char* host : {"127.0.0.1", "some.host", static_cast<const char*>(nullptr)}) {
        const int fd = ZbSocket::connect(host, port);
        EXPECT_GE(fd, 0);
        EXPECT_EQ(ZbSocket::close(fd), 0);
    }
}

TEST(ZbSocket, closesWhatDoesNotConnect)
{
    int port;
    {
        ZbServerSocket server(1);
        server.setBindAddress("127.0.0.1");
        port = server.openSocket(0, -1, 5);
    }
    const int next = dup(0);
    close(next);
    EXPECT_EQ(ZbSocket::connect("127.0.0.1", port), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    for (const int wrong : {-1, 65536})
        EXPECT_EQ(ZbSocket::connect("127.0.0.1", wrong), -1);
    SystemCalls::hostsHaveAddress = false;
    EXPECT_EQ(ZbSocket::connect("no.such.host", port), -1);
    SystemCalls::hostsHaveAddress = true;
    const int same = dup(0);
    EXPECT_EQ(same, next);
    close(same);
}
