// A host that loads a package at run time, knowing nothing but its file and its name: initialises it, lists the
// classes that are registered, prints the package's build record, and finalises it.
//
//     example_PackageHost /usr/local/lib/libzblib.so zblib

#include <zblib/types/ZbTypeInfo.h>

#include <cstdio>
#include <string>
#include <string_view>

#include <dlfcn.h>

namespace
{

// The function of that name, or null with a line on standard error.
template <typename Function>
Function* entryPoint(void* package, const std::string& name)
{
    void* address = dlsym(package, name.c_str());
    if (!address)
        std::fprintf(stderr, "%s\n", dlerror());
    return reinterpret_cast<Function*>(address);
}

void listTypes(const ZbDArray<ZbTypeInfo*>& types)
{
    std::printf("types:\n");
    for (const ZbTypeInfo* type : types) {
        const ZbTypeInfo* parent = type->getParent();
        std::printf("  %-20s %s\n", type->getName(), parent ? parent->getName() : "-");
    }
}

// The part of the record up to the next bar, which is taken off with it.
std::string_view takeField(std::string_view& record)
{
    record.remove_prefix(1);
    const std::string_view field = record.substr(0, record.find('|'));
    record.remove_prefix(field.size());
    return field;
}

// A record is "|key|value|key|value", without a bar at the end.
void printRecord(std::string_view record)
{
    std::printf("build:\n");
    while (!record.empty()) {
        const std::string_view key = takeField(record);
        const std::string_view value = record.empty() ? record : takeField(record);
        std::printf("  %-14.*s %.*s\n", int(key.size()), key.data(), int(value.size()), value.data());
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s FILE NAME\n", argv[0]);
        return 2;
    }
    // Global, because packages that are loaded later are built on the classes of this one.
    void* package = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
    if (!package) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }

    const std::string name = std::string("keldapackage_") + argv[2];
    auto* record = entryPoint<const char*()>(package, name);
    auto* init = entryPoint<void()>(package, name + "_init");
    auto* finish = entryPoint<void()>(package, name + "_finish");
    // ZbTypeInfo::allTypes(). A host that is linked to zblib just calls it; this one is linked to no package, so
    // it finds the function by the name that the compiler gives it.
    auto* allTypes = entryPoint<const ZbDArray<ZbTypeInfo*>&()>(RTLD_DEFAULT, "_ZN10ZbTypeInfo8allTypesEv");
    if (!record || !init || !finish || !allTypes)
        return 1;

    init();
    listTypes(allTypes());
    printRecord(record());
    finish();
    listTypes(allTypes());
    // No dlclose(): objects of the package's classes may live for as long as the host does.
    return 0;
}
