// Linked into every test program: under a sanitizer a request for memory that cannot be met answers null, as it does
// everywhere else, instead of ending the program.
extern "C" const char* __asan_default_options();
extern "C" const char* __tsan_default_options();

extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}

extern "C" const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}
