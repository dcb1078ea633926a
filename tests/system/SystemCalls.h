#pragma once

#include <functional>
#include <optional>

/// What stands in the tests of sockets for calls of the system that take their time or depend on the machine.
struct SystemCalls {
    /// Asked at each poll: its result, or nothing for that of the system.
    static std::function<std::optional<int>()> onPoll;
    /// How often sleep was called, which does not sleep.
    static int sleeps;
    /// Whether host names have an address, which is that of the loopback interface.
    static bool hostsHaveAddress;
    static long hostId;
};
