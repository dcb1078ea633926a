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

// oneTBB is not compiled for ThreadSanitizer, which therefore sees no order between the threads of its loops and would
// report whatever one hands to another. So races inside of such loops are not found: what their bodies do is tested with
// std::thread as well. Told apart by files, for the names of its types are part of those of functions here.
extern "C" const char* __tsan_default_suppressions();

extern "C" const char* __tsan_default_suppressions()
{
    return "race:/oneapi/tbb/\n"
           "race:libtbb.so\n";
}
