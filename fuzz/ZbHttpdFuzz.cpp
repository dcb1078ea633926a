#include <zblib/system/ZbHttpd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/socket.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

// A responder confined to a folder, with what must not be found beside it and links that lead there.
struct Responder {
    Responder()
    {
        require(std::freopen("/dev/null", "w", stdout) != nullptr);
        char name[] = "/tmp/zbhttpdXXXXXX";
        base = mkdtemp(name);
        const std::string root = base + "/r";
        fs::create_directories(root + "/d");
        fs::create_directories(base + "/r2");
        std::ofstream(root + "/a") << "text";
        std::ofstream(root + "/d/index.html") << "page";
        std::ofstream(root + "/s.hx") << "script";
        for (const char* hidden : {"/s", "/s.hx", "/r2/s"})
            std::ofstream(base + hidden) << "SECRET";
        fs::create_symlink("../s", root + "/l");
        fs::create_symlink("..", root + "/u");
        require(httpd.setDocumentRoot(root.c_str()));
        httpd.scriptUserData = this;
        httpd.scriptCallback = [](char* path, void* self) {
            require(path == static_cast<Responder*>(self)->base + "/r/s.hx");
        };
    }
    ~Responder() { fs::remove_all(base); }

    std::string base;
    ZbHttpd httpd{0, nullptr, "127.0.0.1"};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Responder responder;
    if (size > 4096)
        return 0;
    // The bytes stand for a whole request, and for a path in one.
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    for (const std::string& request : {bytes + "\n", "GET /" + bytes + " HTTP/1.0\r\n\r\n"}) {
        int ends[2];
        require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
        require(send(ends[1], request.data(), request.size(), 0) == ssize_t(request.size()));
        shutdown(ends[1], SHUT_WR);
        responder.httpd.handleRequest(ends[0]);
        std::string reply;
        char piece[4096];
        for (ssize_t count; (count = recv(ends[1], piece, sizeof piece, 0)) > 0;)
            reply.append(piece, size_t(count));
        require(reply.find("SECRET") == std::string::npos || bytes.find("SECRET") != std::string::npos);
        close(ends[1]);
    }
    return 0;
}
