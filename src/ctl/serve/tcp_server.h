// A Modbus/TCP server for many clients, none of which costs another one its answers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "journal.h"
#include "register_image.h"
#include "responder.h"

namespace ruvex {

struct tcp_settings {
  std::size_t most_clients;
  bool ends_after_client;  // when the first client has gone
};

// One thread waits for all clients. What a client may have waiting, requests and answers, is
// bounded; while its answers are not taken, nothing more is read from it.
class tcp_server {
 public:
  tcp_server(responder& answers, journal& told, const tcp_settings& settings);
  ~tcp_server();
  tcp_server(const tcp_server&) = delete;
  tcp_server& operator=(const tcp_server&) = delete;

  // Listens at an address as listen_at does. `where`, which outlives the server, answers what comes
  // there. The port; -1 after a message.
  int listen(const std::string& address, int port, const station& where);

  // Serves until `stop` can be read, or the first client has gone where that ends it.
  void run(int stop);

  std::uint64_t clients() const noexcept { return client_count_; }

 private:
  struct client {
    int fd;
    const station* where;
    std::string name;
    std::vector<std::uint8_t> in;   // requests that are not answered yet
    std::vector<std::uint8_t> out;  // answers that have not gone
    bool is_over;                   // the client sends no more
    std::uint32_t interest;         // the events that are waited for
    std::int64_t held_until;        // when an answer that is late may go; 0: none is
  };

  void handle(int fd, std::uint32_t events);
  int next_wait() const noexcept;
  void release_held();
  void accept_clients(int listener, const station& where);
  void admit(int fd, const station& where);
  bool serve(client& who, std::uint32_t events);
  bool go_on(client& who);
  bool take_input(client& who);
  bool answer_input(client& who);
  void answer_frame(client& who, const std::uint8_t* frame, std::size_t size);
  bool send_output(client& who);
  void watch(client& who);
  void drop(int fd);

  responder& answers_;
  journal& told_;
  const tcp_settings settings_;
  int epoll_;
  std::map<int, const station*> listeners_;  // by their descriptors
  std::unordered_map<int, client> clients_;
  std::multimap<std::int64_t, int> held_;  // clients whose answers wait, by the time that ends it
  std::uint64_t client_count_ = 0;
  bool has_told_of_crowd_ = false;
  bool is_at_end_ = false;
};

}  // namespace ruvex
