#include "VolumeFiles.h"
#include "ZbvolumeProcess.h"

#include <zblib/system/ZbServerSocket.h>
#include <zblib/system/ZbSocket.h>

#include <QDir>
#include <QStandardPaths>

#include <csignal>

#include <sys/socket.h>
#include <unistd.h>

namespace
{

struct ZbvolumeServe : ZbvolumeTest {
    ZbvolumeServe()
    {
        QDir(path("").c_str()).mkdir("served");
        writeFile(path("served/page.html"), "<p>Volume");
        writeFile(path("secret.html"), "secret");
    }
    // Starts it and reads what it tells.
    void serve(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"serve", "--port", "0"});
        start(process, arguments);
        while (!out.contains("/\n") && process.waitForReadyRead(30000))
            out += process.readAllStandardOutput();
        const auto at = out.indexOf("port: ");
        port = out.mid(at + 6, out.indexOf('\n', at) - at - 6).toInt();
        ASSERT_GT(port, 0) << out.toStdString() << process.readAllStandardError().toStdString();
    }
    int connect(const char* host = "127.0.0.1") const { return ZbSocket::connect(host, port); }
    std::string request(const std::string& line) const
    {
        const int fd = connect();
        ZbSocket::send(fd, "%s\r\n", line.c_str());
        std::string reply;
        char piece[4096];
        for (ssize_t count; (count = recv(fd, piece, sizeof piece, 0)) > 0;)
            reply.append(piece, std::size_t(count));
        close(fd);
        return reply;
    }

    QProcess process;
    QByteArray out;
    int port = 0;
};

}  // namespace

TEST_F(ZbvolumeServe, keepsToItsFolderAndThisMachine)
{
    serve({"--root", "served"});
    const std::string root = QDir(path("served").c_str()).canonicalPath().toStdString();
    const std::string number = std::to_string(port);
    EXPECT_EQ(out.toStdString(),
              "root: " + root + "\nport: " + number + "\naddress: http://127.0.0.1:" + number + "/\n");
    EXPECT_EQ(request("GET /page.html HTTP/1.0"), "<p>Volume");
    EXPECT_NE(request("GET /../secret.html HTTP/1.0").find("Can't open file /../secret.html<"),
              std::string::npos);
    EXPECT_NE(request("GET " + path("secret.html")).find("Can't open file"), std::string::npos);
    EXPECT_EQ(connect("127.0.0.2"), -1);
    EXPECT_EQ(request("QUIT"), "");
    EXPECT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(process.readAllStandardError(), "Terminating http daemon\n");
    EXPECT_TRUE(process.readAllStandardOutput().contains(": GET /page.html HTTP/1.0\r\n"));
}

TEST_F(ZbvolumeServe, answersCurl)
{
    const QString curl = QStandardPaths::findExecutable("curl");
    if (curl.isEmpty())
        GTEST_SKIP() << "no curl";
    std::string large = "first line\n";  // without a line feed near its start, curl fails
    large.append(5000000, 'x') += '\t';
    writeFile(path("served/a b.bin"), large);
    serve({"--root", "served"});
    const auto get = [&](const QString& name) {
        QProcess client;
        client.start(curl, {"--http0.9", "-sS", "--noproxy", "*", "--path-as-is",
                            "http://127.0.0.1:" + QString::number(port) + name});
        EXPECT_TRUE(client.waitForFinished(30000));
        EXPECT_EQ(client.readAllStandardError(), "");
        EXPECT_EQ(client.exitCode(), 0);
        return client.readAllStandardOutput().toStdString();
    };
    EXPECT_EQ(get("/page.html"), "<p>Volume");
    EXPECT_TRUE(get("/a%20b.bin") == large);
    EXPECT_EQ(get("/../secret.html"),
              "<HTML><BODY>Can't open file /../secret.html</BODY></HTML>\n" + std::string(1, '\0'));
    EXPECT_EQ(get("/"), "<PLAINTEXT>\r\n");
    request("QUIT");
    EXPECT_TRUE(process.waitForFinished(30000));
}

TEST_F(ZbvolumeServe, servesTheCurrentFolderUntilInterrupted)
{
    serve({});
    const int rude = connect();  // says nothing and goes
    close(rude);
    EXPECT_EQ(request("GET /served/page.html"), "<p>Volume");
    kill(pid_t(process.processId()), SIGINT);
    EXPECT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(process.exitCode(), SIGINT);
}

TEST_F(ZbvolumeServe, refusesWhatItCannotServe)
{
    const struct {
        std::vector<std::string> arguments;
        int status;
        const char* err;
    } cases[] = {{{"--root", "none"}, 1, "zbvolume: none: No such file or directory\n"},
                 {{"--root", "secret.html"}, 1, "zbvolume: secret.html: is no folder\n"}};
    for (const auto& [extra, status, err] : cases) {
        std::vector<std::string> arguments = {"serve", "--port", "0"};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        const Outcome outcome = zbvolume(arguments);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.err, err);
        EXPECT_EQ(outcome.out, "");
    }
    for (const char* wrong : {"-1", "65536", "http"})
        EXPECT_EQ(zbvolume({"serve", "--port", wrong}).status, 2);

    // The last port has none behind it.
    ZbServerSocket last(0);
    last.setBindAddress("127.0.0.1");
    // Other runs of this test hold it for a moment.
    for (int i = 0; i < 5 && last.getPort() == -1; i++)
        last.openSocket(65535, 10, 1);
    ASSERT_EQ(last.getPort(), 65535);
    const Outcome outcome = zbvolume({"serve", "--port", "65535"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(
        outcome.err,
        "zbvolume: port 65535: neither this nor one of the up to 19 behind it is free (Address already in "
        "use)\n");
}
