#include <zblib/system/ZbServerSocket.h>

#include "SystemCalls.h"

#include <zblib/system/ZbSocket.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include <unistd.h>

namespace
{

// What statement prints on standard error.
template <typename Statement>
std::string printed(Statement statement)
{
    testing::internal::CaptureStderr();
    statement();
    return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(ZbServerSocket, takesTheFirstFreePortOfARange)
{
    ZbServerSocket busy(1);
    const int port = busy.openSocket(0, -1, 5);
    ASSERT_GT(port, 0);
    EXPECT_EQ(busy.getPort(), port);
    ZbServerSocket next(1);
    const int found = next.openSocket(port, -20, 5);
    EXPECT_GT(found, port);
    EXPECT_LT(found, port + 20);

    ZbServerSocket none(1);
    EXPECT_EQ(printed([&] { EXPECT_EQ(none.openSocket(port, -1, 5), -1); }),
              "bind: Address already in use\n");
    EXPECT_EQ(none.getPort(), -1);
    EXPECT_EQ(none.accept(), -1);
    EXPECT_EQ(printed([] { EXPECT_EQ(ZbServerSocket(0).openSocket(70000, -20, 5), -1); }), "");
}

TEST(ZbServerSocket, triesOnePortAgainASecondLater)
{
    ZbServerSocket busy(1);
    const int port = busy.openSocket(0, 1, 5);
    ASSERT_GT(port, 0);
    SystemCalls::sleeps = 0;
    EXPECT_EQ(printed([&] { EXPECT_EQ(ZbServerSocket(1).openSocket(port, 3, 5), -1); }),
              "bind: Address already in use\n");
    EXPECT_EQ(SystemCalls::sleeps, 3);
    EXPECT_EQ(printed([] { EXPECT_EQ(ZbServerSocket(1).openSocket(0, 0, 5), -1); }),
              "bind: Invalid argument\n");
}

TEST(ZbServerSocket, keepsASocketWhoseMachineHasNoAddress)
{
    ZbServerSocket server(1);
    SystemCalls::hostsHaveAddress = false;
    const std::string text = printed([&] { EXPECT_EQ(server.openSocket(0, -20, 5), -1); });
    EXPECT_EQ(text.substr(0, 15), "gethostbyname: ");
    EXPECT_EQ(server.getPort(), -1);
    EXPECT_EQ(server.nonBlocking(), 0);
    // Of no concern to one that is told its address.
    EXPECT_TRUE(server.setBindAddress("127.0.0.1"));
    EXPECT_GT(server.openSocket(0, -20, 5), 0);
    SystemCalls::hostsHaveAddress = true;
    server.close();
    EXPECT_EQ(server.nonBlocking(), -1);
}

TEST(ZbServerSocket, staysOnTheAddressItIsGiven)
{
    ZbServerSocket server(1);
    ASSERT_TRUE(server.setBindAddress("127.0.0.1"));
    int port = server.openSocket(0, -1, 5);
    EXPECT_EQ(ZbSocket::connect("127.0.0.2", port), -1);
    const int fd = ZbSocket::connect("127.0.0.1", port);
    EXPECT_GE(fd, 0);
    close(fd);

    EXPECT_FALSE(server.setBindAddress("localhost"));
    EXPECT_EQ(printed([&] { EXPECT_EQ(server.openSocket(0, -20, 5), -1); }), "bind: Invalid argument\n");

    ASSERT_TRUE(server.setBindAddress(nullptr));
    port = server.openSocket(0, -1, 5);
    const int other = ZbSocket::connect("127.0.0.2", port);
    EXPECT_GE(other, 0);
    close(other);
}

TEST(ZbServerSocket, acceptsConnections)
{
    ZbServerSocket server(1);
    const int port = server.openSocket(0, -1, 5);
    EXPECT_FALSE(server.isNonBlocking());
    EXPECT_EQ(server.nonBlocking(), 0);
    EXPECT_TRUE(server.isNonBlocking());
    EXPECT_EQ(printed([&] { EXPECT_EQ(server.accept(), -1); }), "");
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(server.blocking(), 0);
    const int client = ZbSocket::connect("127.0.0.1", port);
    const int fd = server.accept();
    EXPECT_EQ(ZbSocket::send(client, "hello\n"), 6);
    ZbString line;
    EXPECT_EQ(ZbSocket::readLine(fd, line), 6);
    close(fd);
    close(client);
}

TEST(ZbServerSocket, reportsErrorsIfVerbose)
{
    const auto report = [](int verbose, const char* context) {
        return printed([=] {
            errno = EACCES;
            ZbServerSocket(verbose).error(context);
        });
    };
    EXPECT_EQ(report(1, "here"), "here: Permission denied\n");
    EXPECT_EQ(report(-1, nullptr), "ZbServerSocket: Permission denied\n");
    EXPECT_EQ(report(0, "here"), "");
}
