#include "Commands.h"
#include "Failure.h"

#include <zblib/system/ZbHttpd.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace zbvolume
{

namespace
{

constexpr const char* loopback = "127.0.0.1";
// A client on the same machine that is silent for so long has nothing to ask for.
constexpr int receiveTimeoutInMs = 2000;

struct ServeOptions {
    int port = 8080;
    std::string root = ".";
};

std::string absolute(const std::string& folder)
{
    const std::unique_ptr<char, void (*)(void*)> path(realpath(folder.c_str(), nullptr), std::free);
    return path ? path.get() : folder;
}

// The responder prints why it has no port, in words of its own: whether there is one is asked before.
void requirePort(int port)
{
    ZbServerSocket probe(0);
    probe.setBindAddress(loopback);
    if (probe.openSocket(port, -20, 1) == -1)
        throw Failure("port " + std::to_string(port),
                      "neither this nor one of the up to 19 behind it is free (" + systemCause() + ")");
}

std::unique_ptr<ZbHttpd> open(const ServeOptions& options)
{
    requirePort(options.port);
    auto responder = std::make_unique<ZbHttpd>(options.port, nullptr, loopback);
    if (responder->getPort() == -1)
        throw Failure("port " + std::to_string(options.port), "has been taken");
    if (!responder->setDocumentRoot(options.root.c_str()))
        throw Failure(options.root,
                      ZbFilename(options.root.c_str()).doesExist() ? "is no folder" : systemCause());
    responder->setReceiveTimeout(receiveTimeoutInMs);
    return responder;
}

}  // namespace

void addServe(CLI::App& app, Chosen& chosen)
{
    auto options = std::make_shared<ServeOptions>();
    auto* command =
        addCommand(app, chosen, "serve",
                   "Serves the files of a folder to programs on this machine, until Ctrl-C or QUIT",
                   [options, &chosen](TerminalProgress&) {
                       // Requests are printed as they come, also into a file.
                       std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
                       const std::shared_ptr<ZbHttpd> responder = open(*options);
                       chosen.afterwards = [responder] { responder->mainLoop(); };
                       Report report;
                       report.add("root", absolute(options->root));
                       report.add("port", responder->getPort());
                       report.add("address", "http://" + std::string(loopback) + ":" +
                                                 std::to_string(responder->getPort()) + "/");
                       return report;
                   });
    command->add_option("--port", options->port, "First port to try of 20; 0 for any")
        ->type_name("P")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    command->add_option("--root", options->root, "Folder whose files are served")
        ->type_name("DIR")
        ->capture_default_str();
}

}  // namespace zbvolume
