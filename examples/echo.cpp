// An echo server and its client, two processes that meet under a local name.

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "ruvex/socket/bind.h"
#include "ruvex/socket/connect.h"
#include "ruvex/socket/transfer.h"

using namespace ruvex;

// Gives back what it receives until the client is gone.
static int serve(Socket* listener) {
  const socket_ptr client(sktAcceptTimeout(listener, 2000));
  if (client == nullptr) return 1;
  char bytes[64];
  int count = 0;
  while ((count = sktRecv(client.get(), bytes, sizeof bytes)) > 0) {
    if (sktSendN(client.get(), bytes, count) != count) return 1;
  }
  return count == 0 ? 0 : 1;
}

static int ask(const char* name) {
  const socket_ptr server(sktNew_LOCAL(SOCK_STREAM, SKT_CLIENT, name));
  if (server == nullptr || sktConnectHost(server.get(), name, 0, 2000) != 0) return 1;
  for (const char* word : {"one", "two", "three"}) {
    char echo[64] = {};
    if (sktSendS(server.get(), word) < 0) return 1;
    for (std::size_t at = 0; at < std::strlen(word);) {  // a stream may deliver it in pieces
      const int count = sktRecv(server.get(), echo + at, static_cast<int>(sizeof echo - 1 - at));
      if (count <= 0) return 1;
      at += static_cast<std::size_t>(count);
    }
    std::printf("%s\n", echo);
  }
  return 0;
}

int main() {
  char name[32];
  std::snprintf(name, sizeof name, "echo-%d", static_cast<int>(::getpid()));
  socket_ptr listener(sktNew_LOCAL(SOCK_STREAM, SKT_SERVER, name));
  if (listener == nullptr) return 1;
  const pid_t client = ::fork();
  if (client == 0) {
    listener.reset();
    const int result = ask(name);
    std::fflush(stdout);
    ::_exit(result);
  }
  const int status = serve(listener.get());
  int ended = 0;
  return ::waitpid(client, &ended, 0) == client && ended == 0 ? status : 1;
}
