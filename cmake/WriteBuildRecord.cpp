// Writes the build record into a shared object that has just been linked.
//
//     zblib_write_build_record FILE KEY=VALUE|@VALUES...
//
// @VALUES names a file with one KEY=VALUE a line. What is not given and can be found out here is: build_user, build_ip,
// build_time, path and size. With SOURCE_DATE_EPOCH in the environment that moment is the build_time, and the same
// input gives the same file.

#include <zblib/foundation/ZbBuildRecord.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>

#include <pwd.h>
#include <unistd.h>

namespace
{

using Values = std::map<std::string, std::string>;

// In the order of the record.
constexpr const char* keys[] = {"version_tag", "comment",       "compiler",      "target_os",
                                "build_cfg",   "build_user",    "build_ip",      "build_time",
                                "filename",    "path",          "size",          "vendor",
                                "product",     "version_major", "version_minor", "version_patch"};

void add(Values& values, const std::string& assignment)
{
    const std::size_t equals = assignment.find('=');
    const std::string key = assignment.substr(0, equals);
    if (equals == std::string::npos || std::find(std::begin(keys), std::end(keys), key) == std::end(keys))
        throw std::runtime_error("'" + assignment + "' is no KEY=VALUE of a build record");
    // An empty value stands for one that was not given.
    if (equals + 1 < assignment.size())
        values[key] = assignment.substr(equals + 1);
}

void addLines(Values& values, const std::string& name)
{
    std::ifstream file(name);
    if (!file)
        throw std::runtime_error("cannot read " + name);
    for (std::string line; std::getline(file, line);)
        add(values, line);
}

std::string userName()
{
    // Not everywhere has the account a name.
    const passwd* account = getpwuid(geteuid());
    return account ? account->pw_name : std::to_string(geteuid());
}

std::string hostName()
{
    char name[256] = "";
    // A name that is too long is cut and may then lack its zero.
    return gethostname(name, sizeof(name) - 1) == 0 && name[0] ? name : "localhost";
}

std::string buildTime()
{
    std::time_t moment = std::time(nullptr);
    if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH"); epoch && *epoch) {
        const char* end = epoch + std::string::traits_type::length(epoch);
        const auto [rest, error] = std::from_chars(epoch, end, moment);
        if (error != std::errc() || rest != end || moment < 0)
            throw std::runtime_error(std::string("SOURCE_DATE_EPOCH is '") + epoch +
                                     "', expected seconds since 1970");
    }
    std::tm parts = {};
    char text[64];
    if (!gmtime_r(&moment, &parts) || std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &parts) == 0)
        throw std::runtime_error("the time of the build has no date");
    return text;
}

// What is printable ASCII and no bar stays as it is.
std::string sanitised(std::string value)
{
    for (char& c : value) {
        if (c == '|')
            c = '_';
        else if (c < ' ' || c > '~')
            c = '?';
    }
    return value;
}

std::string recordOf(const Values& values)
{
    std::string record;
    for (const char* key : keys) {
        const auto found = values.find(key);
        if (found == values.end())
            throw std::runtime_error(std::string("no value for ") + key + "; it may not be empty");
        record += std::string("|") + key + "|" + sanitised(found->second);
    }
    if (record.size() >= ZbDetail::recordCapacity)
        throw std::runtime_error("the build record is too long");
    return record;
}

std::string markerOf()
{
    std::string marker;
    for (std::size_t i = 0; i < ZbDetail::recordMarkerLength; ++i)
        marker += ZbDetail::spacedRecordMarker[2 * i];
    return marker;
}

void write(const std::filesystem::path& path, Values values)
{
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path.string());
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const std::string marker = markerOf();
    const std::size_t place = bytes.find(marker);
    if (!file || place == std::string::npos || bytes.find(marker, place + 1) != std::string::npos ||
        bytes.size() - place - marker.size() < ZbDetail::recordCapacity)
        throw std::runtime_error(path.string() + " has not one place for a build record");

    // Those that are given win.
    values.insert({{"build_user", userName()},
                   {"build_ip", hostName()},
                   {"build_time", buildTime()},
                   {"path", std::filesystem::absolute(path).parent_path().string()},
                   {"size", std::to_string(bytes.size())}});
    std::string record = recordOf(values);
    record.resize(ZbDetail::recordCapacity);
    file.clear();
    file.seekp(std::streamoff(place + marker.size()));
    file.write(record.data(), std::streamsize(record.size()));
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path.string());
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        if (argc < 2)
            throw std::runtime_error("expected a file and KEY=VALUE pairs");
        Values values;
        for (int i = 2; i < argc; ++i) {
            if (argv[i][0] == '@')
                addLines(values, argv[i] + 1);
            else
                add(values, argv[i]);
        }
        write(argv[1], values);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "%s: %s\n", argv[0], problem.what());
        return 1;
    }
    return 0;
}
