// Files over the loopback interface, one request a connection, from processes of their own: a ZbHttpd, a loop
// that knows nothing but sendfile, and nginx with one worker and without keep-alive. nginx is the program that
// the environment variable NGINX names, or that of the search path; without it, its rows are missing.
//
// The client takes in what it receives and throws it away. A second argument of 4 has four clients at once.

#include <zblib/system/ZbHttpd.h>
#include <zblib/system/ZbSocket.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

constexpr const char* loopback = "127.0.0.1";

void require(bool condition, const char* what)
{
    if (!condition)
        throw std::runtime_error(what);
}

std::string fileName(long size)
{
    return std::to_string(size) + ".dat";
}

// A folder with the files that are asked for, named by their size.
class Folder
{
public:
    Folder()
    {
        char name[] = "/tmp/zbservedXXXXXX";
        require(mkdtemp(name) != nullptr, "no folder");
        m_path = name;
    }
    ~Folder() { fs::remove_all(m_path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string& path() const { return m_path; }
    // Of numbers, as data files are: no text.
    void write(long size) const
    {
        std::string content(size_t(size), '\0');
        for (size_t i = 0; i < content.size(); ++i)
            content[i] = char(i * 7 + i / 251);
        std::ofstream(m_path + "/" + fileName(size), std::ios::binary) << content;
    }

private:
    std::string m_path;
};

// A process that ends with this object, and with this process in any case.
class Server
{
public:
    template <typename Serve>
    Server(int port, Serve serve) : m_port(port), m_process(fork())
    {
        if (m_process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            require(std::freopen("/dev/null", "w", stdout) != nullptr, "no /dev/null");
            serve();
            _exit(1);
        }
    }
    ~Server()
    {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    int port() const { return m_port; }
    // Seconds of processor time that it has taken.
    double processorTime() const
    {
        clockid_t clock = {};
        timespec time = {};
        clock_getcpuclockid(m_process, &clock);
        clock_gettime(clock, &time);
        return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
    }

private:
    int m_port;
    pid_t m_process;
};

int freePort()
{
    ZbServerSocket socket(1);
    socket.setBindAddress(loopback);
    return socket.openSocket(0, 1, 1);
}

std::unique_ptr<Server> startOurs(const Folder& folder)
{
    const int port = freePort();
    return std::make_unique<Server>(port, [&] {
        ZbHttpd httpd(port, nullptr, loopback);
        httpd.setDocumentRoot(folder.path().c_str());
        httpd.mainLoop();
    });
}

// What a program does at least to send a file.
void sendWithSystem(int client, const std::string& folder)
{
    char request[1024];
    const ssize_t length = recv(client, request, sizeof request, 0);
    const std::string line(request, size_t(std::max<ssize_t>(length, 0)));
    const int file = open((folder + line.substr(4, line.find(" HTTP") - 4)).c_str(), O_RDONLY | O_CLOEXEC);
    while (sendfile(client, file, nullptr, 1 << 30) > 0)
        ;
    close(file);
    close(client);
}

std::unique_ptr<Server> startSendfile(const Folder& folder)
{
    const int port = freePort();
    return std::make_unique<Server>(port, [&] {
        ZbServerSocket socket(1);
        socket.setBindAddress(loopback);
        socket.openSocket(port, 1, 25);
        for (;;)
            sendWithSystem(socket.accept(), folder.path());
    });
}

std::string nginxProgram()
{
    if (const char* const named = std::getenv("NGINX"))
        return named;
    for (const char* const path : {"/usr/sbin/nginx", "/usr/bin/nginx", "/usr/local/sbin/nginx"})
        if (access(path, X_OK) == 0)
            return path;
    return "";
}

std::unique_ptr<Server> startNginx(const Folder& folder)
{
    const std::string program = nginxProgram();
    if (program.empty())
        return nullptr;
    const int port = freePort();
    const std::string home = folder.path() + "/nginx";
    fs::create_directory(home);
    std::ofstream(home + "/conf") << "daemon off; master_process off; worker_processes 1; pid " + home +
                                         "/pid; error_log stderr; events { worker_connections 64; } http { "
                                         "access_log off; keepalive_timeout 0; sendfile on; tcp_nopush on;";
    std::ofstream conf(home + "/conf", std::ios::app);
    for (const char* const kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
        conf << kind << "_temp_path " << home << "/temp;";
    conf << "server { listen " << loopback << ":" << port << "; root " << folder.path() << "; } }\n";
    conf.close();
    return std::make_unique<Server>(port, [&] {
        execl(program.c_str(), "nginx", "-p", home.c_str(), "-c", (home + "/conf").c_str(), "-e", "stderr",
              nullptr);
    });
}

// Asks for a file and returns how many bytes have come.
long fetch(int port, const std::string& path)
{
    const int fd = ZbSocket::connect(loopback, port);
    if (fd < 0)
        return -1;
    ZbSocket::send(fd, "GET %s HTTP/1.0\r\nHost: localhost\r\n\r\n", path.c_str());
    static thread_local std::vector<char> buffer(256 * 1024);
    long total = 0;
    for (ssize_t count; (count = recv(fd, buffer.data(), buffer.size(), 0)) > 0;)
        total += count;
    ZbSocket::close(fd);
    return total;
}

void measure(benchmark::State& state, const Server& server, long size)
{
    std::string path(1, '/');
    path += fileName(size);
    const double begin = server.processorTime();
    for (auto _ : state)
        if (fetch(server.port(), path) < size) {
            state.SkipWithError("the file did not come");
            break;
        }
    if (state.thread_index() == 0)
        state.counters["server"] = benchmark::Counter((server.processorTime() - begin) /
                                                      double(state.iterations() * state.threads()));
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * size);
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const Folder folder;
    const std::pair<const char*, std::unique_ptr<Server>> servers[] = {
        {"ZbHttpd", startOurs(folder)}, {"sendfile", startSendfile(folder)}, {"nginx", startNginx(folder)}};
    const std::pair<const char*, long> files[] = {{"1K", 1L << 10}, {"1M", 1L << 20}, {"64M", 1L << 26}};
    for (const auto& [label, size] : files) {
        folder.write(size);
        for (const auto& [name, server] : servers) {
            if (!server)
                continue;
            while (fetch(server->port(), "/") < 0)
                usleep(10000);
            for (const int clients : {1, 4})
                benchmark::RegisterBenchmark((std::string("serve/") + name + "/" + label).c_str(),
                                             [&server = *server, size = size](benchmark::State& state) {
                                                 measure(state, server, size);
                                             })
                    ->Threads(clients)
                    ->UseRealTime();
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
