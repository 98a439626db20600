#pragma once

#include <atomic>
#include <string>
#include <string_view>

// Socket helpers shared by the test servers. Everything binds to 127.0.0.1.
namespace loopback {

// A listening socket on a port of the system's choosing; port receives it.
int listen(unsigned short& port);
// A loopback port nothing listens on.
unsigned short closed_port();
bool wait_readable(int fd, int timeout_ms);
// An HTTP request: its head, then as many body bytes as Content-Length says.
// Gives up when the peer closes or stop is set.
std::string read_request(int fd, const std::atomic<bool>& stop);
bool send_all(int fd, std::string_view bytes, const std::atomic<bool>& stop);

} // namespace loopback
