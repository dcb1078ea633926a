#pragma once

namespace ZbDetail
{

/// Waits for bytes, unless fd is non-blocking, and takes as many off the socket as there are up to and with
/// the first line feed, at most room, which is positive. Returns their number, or what recv returned where
/// that was 0 or less.
///
/// The same bytes as with one recv for each, in two calls of the system.
long takeLine(int fd, char* buffer, long room);

}  // namespace ZbDetail
