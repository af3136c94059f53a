// Where Modbus/TCP is listened on, IPv4 and IPv6.
#pragma once

#include <string>
#include <string_view>

namespace ruvex {

// Listens on a port of a numeric address, "127.0.0.1" or "::1"; "::" is all addresses, those of
// IPv4 too, and port 0 any that is free. A descriptor that does not block, owned by the caller; -1
// after a message.
int listen_at(const std::string& address, int port);

// The port of a descriptor that listens; -1 where it has none.
int port_of(int fd);

// The peer of a connection: "127.0.0.1:50123", "[::1]:50123"; "?:0" where it has gone.
std::string peer_of(int fd);

// An address and a port, with brackets around an address with colons.
std::string place_text(std::string_view address, int port);

}  // namespace ruvex
