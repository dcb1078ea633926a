#include <zblib/foundation/ZbPackage.h>

#include <zblib/foundation/ZbAssertionHandler.h>
#include <zblib/types/ZbTypeInfo.h>

#include <tests/support/FreshProcess.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <dlfcn.h>

using testing::ElementsAre;
using testing::MatchesRegex;

namespace
{

constexpr bool isClang =
#ifdef __clang__
    true;
#else
    false;
#endif

struct Record {
    Record()
    {
        const std::string text = keldapackage_zblib();
        for (std::size_t at = 0; at < text.size();) {
            EXPECT_EQ(text[at], '|');
            const std::size_t end = std::min(text.find('|', at + 1), text.size());
            fields.push_back(text.substr(at + 1, end - at - 1));
            at = end;
        }
        EXPECT_EQ(fields.size() % 2, 0u);
        for (std::size_t i = 0; i + 1 < fields.size(); i += 2) {
            keys.push_back(fields[i]);
            values[fields[i]] = fields[i + 1];
        }
    }

    std::vector<std::string> fields;
    std::vector<std::string> keys;
    std::map<std::string, std::string> values;
};

// The shared object that was loaded, behind its links.
std::filesystem::path loadedFile()
{
    Dl_info info = {};
    EXPECT_NE(dladdr(reinterpret_cast<void*>(&keldapackage_zblib), &info), 0);
    return std::filesystem::canonical(info.dli_fname);
}

// What a package changes, in one line on standard error.
void report()
{
    std::fprintf(stderr, "[%s, level %d,", ZbAssertionHandler::thehandler() ? "handler" : "no handler",
                 ZbAssertionHandler::debuglevel());
    for (const ZbTypeInfo* type : ZbTypeInfo::allTypes())
        std::fprintf(stderr, " %s", type->getName());
    std::fprintf(stderr, "]");
}

constexpr const char* untouched =
    "[no handler, level 3, ZbInterface ZbInterfaceOwner ZbPrimTypeProvider ZbTypedObject]";
constexpr const char* initialised =
    "[handler, level 3, ZbInterface ZbInterfaceOwner ZbPrimTypeProvider ZbTypedObject]";
constexpr const char* initialisedAndFinished = "[handler, level 3, ZbTypedObject]";
constexpr const char* onlyFinished = "[no handler, level 3, ZbTypedObject]";

using EntryPoint = void (*)();

}  // namespace

TEST(ZbPackage, recordHasItsKeysInOrder)
{
    EXPECT_THAT(Record().keys,
                ElementsAre("version_tag", "comment", "compiler", "target_os", "build_cfg", "build_user",
                            "build_ip", "build_time", "filename", "path", "size", "vendor", "product",
                            "version_major", "version_minor", "version_patch"));
}

TEST(ZbPackage, recordTellsTheTruth)
{
    std::map<std::string, std::string> values = Record().values;
    const std::filesystem::path file = loadedFile();
    EXPECT_EQ(values["path"], file.parent_path());
    EXPECT_EQ(values["size"], std::to_string(std::filesystem::file_size(file)));
    EXPECT_EQ(values["filename"], "libzblib.so");
    EXPECT_EQ(file.filename(), "libzblib.so." + values["version_major"] + "." + values["version_minor"] +
                                   "." + values["version_patch"]);
#ifdef __clang__
    const int version[] = {__clang_major__, __clang_minor__, __clang_patchlevel__};
#else
    const int version[] = {__GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__};
#endif
    EXPECT_EQ(values["compiler"], std::string(isClang ? "clang " : "gcc ") + std::to_string(version[0]) +
                                      "." + std::to_string(version[1]) + "." + std::to_string(version[2]));
    EXPECT_EQ(values["target_os"], "Linux 64bit");
    EXPECT_EQ(values["comment"].size(), 40u);
    EXPECT_EQ(values["comment"].find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_THAT(values["build_time"], MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}"));
    for (const auto& [key, value] : values)
        EXPECT_NE(value, "") << key;
}

TEST(ZbPackage, hostsFindTheEntryPointsByTheirPlainNames)
{
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "keldapackage_zblib"), reinterpret_cast<void*>(&keldapackage_zblib));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "keldapackage_zblib_init"),
              reinterpret_cast<void*>(&keldapackage_zblib_init));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "keldapackage_zblib_finish"),
              reinterpret_cast<void*>(&keldapackage_zblib_finish));
}

TEST(ZbPackage, loadingPrintsAndInstallsNothing)
{
    setenv("HX_DEBUG", "1", 1);
    setenv("HX_DEBUG_LEVEL", "9", 1);
    EXPECT_FRESH_STDERR(report(), untouched);
    EXPECT_FRESH_STDERR(
        {
            keldapackage_zblib_init();
            keldapackage_zblib_init();
        },
        "Found HX_DEBUG -> Enabling debugging output\n"
        "   level set to HX_DEBUG_LEVEL = DEBUG+2\n"
        "      you can set a function filter by providing HX_DEBUG_FUNC_FILTER\n"
        "      you can set a package filter by providing HX_DEBUG_PACKAGE_FILTER\n");
    unsetenv("HX_DEBUG");
    unsetenv("HX_DEBUG_LEVEL");
}

TEST(ZbPackage, initialisesAndFinishesOnce)
{
    const struct {
        std::vector<EntryPoint> calls;
        const char* state;
    } cases[] = {
        {{}, untouched},
        {{keldapackage_zblib_init}, initialised},
        {{soconstructor_zblib}, initialised},
        {{keldapackage_zblib_init, soconstructor_zblib, keldapackage_zblib_finish}, initialisedAndFinished},
        {{keldapackage_zblib_init, sodestructor_zblib, keldapackage_zblib_finish, keldapackage_zblib_init},
         initialisedAndFinished},
        {{keldapackage_zblib_finish}, onlyFinished},
        {{sodestructor_zblib, keldapackage_zblib_init}, onlyFinished},
    };
    for (const auto& [calls, state] : cases) {
        SCOPED_TRACE(state);
        EXPECT_FRESH_STDERR(
            {
                for (const EntryPoint call : calls)
                    call();
                report();
            },
            state);
    }
}

TEST(ZbPackage, initialisesOnceAlsoWhereTheHandlerIsReplaced)
{
    EXPECT_FRESH_STDERR(
        {
            keldapackage_zblib_init();
            ZbAssertionHandler::setAssertionHandler(nullptr);
            ZbAssertionHandler::debuglevel() = 5;
            keldapackage_zblib_init();
            report();
        },
        "[no handler, level 5, ZbInterface ZbInterfaceOwner ZbPrimTypeProvider ZbTypedObject]");
}
