#include "tcp_server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "listening.h"
#include "tcp_frame.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// Two of the longest requests: who floods is not served much longer than the others are.
constexpr std::size_t input_block = 2 * longest_tcp_frame;

// No more requests are answered while this many bytes of answers wait.
constexpr std::size_t most_output = 16384;

std::int64_t clock_ms() noexcept {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

bool is_later(int error) noexcept {
  return error == EAGAIN || error == EINTR;
}

void add_to(int epoll, int fd) noexcept {
  epoll_event event = {};
  event.events = EPOLLIN;
  event.data.fd = fd;
  ::epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event);
}

// Answers go at once, and a peer that has vanished is found out in the end.
void set_up_client(int fd) noexcept {
  const int on = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  ::setsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
}

}  // namespace

tcp_server::tcp_server(responder& answers, journal& told, const tcp_settings& settings)
    : answers_(answers), told_(told), settings_(settings), epoll_(::epoll_create1(EPOLL_CLOEXEC)) {}

tcp_server::~tcp_server() {
  for (const auto& [fd, where] : listeners_) ::close(fd);
  for (const auto& [fd, who] : clients_) ::close(fd);
  if (epoll_ >= 0) ::close(epoll_);
}

int tcp_server::listen(const std::string& address, int port, const station& where) {
  const int fd = listen_at(address, port);
  if (fd < 0) return -1;
  add_to(epoll_, fd);
  listeners_[fd] = &where;
  return port_of(fd);
}

void tcp_server::run(int stop) {
  std::array<epoll_event, 64> events;
  add_to(epoll_, stop);
  while (!is_at_end_) {
    const int count = ::epoll_wait(epoll_, events.data(), events.size(), next_wait());
    release_held();
    for (int at = 0; at < count; ++at) {
      const epoll_event& event = events[static_cast<std::size_t>(at)];
      if (event.data.fd == stop) is_at_end_ = true;
      handle(event.data.fd, event.events);
    }
  }
}

void tcp_server::handle(int fd, std::uint32_t events) {
  const auto from = listeners_.find(fd);
  if (from != listeners_.end()) return accept_clients(fd, *from->second);
  const auto who = clients_.find(fd);
  if (who != clients_.end() && !serve(who->second, events)) drop(fd);
}

// Up to the first answer that is held back; without end where there is none.
int tcp_server::next_wait() const noexcept {
  if (held_.empty()) return -1;
  return static_cast<int>(std::max<std::int64_t>(held_.begin()->first - clock_ms(), 0));
}

// A client that has gone may have left its place here, and its number to another one.
void tcp_server::release_held() {
  const std::int64_t now = clock_ms();
  while (!held_.empty() && held_.begin()->first <= now) {
    const auto [until, fd] = *held_.begin();
    held_.erase(held_.begin());
    const auto who = clients_.find(fd);
    if (who == clients_.end() || who->second.held_until != until) continue;
    who->second.held_until = 0;
    if (!go_on(who->second)) drop(fd);
  }
}

void tcp_server::accept_clients(int listener, const station& where) {
  // A flood of connections does not keep the others waiting.
  for (int most = 64; most > 0; --most) {
    const int fd = ::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) return;
    admit(fd, where);
  }
}

void tcp_server::admit(int fd, const station& where) {
  if (clients_.size() >= settings_.most_clients) {
    ::close(fd);
    if (!std::exchange(has_told_of_crowd_, true)) {
      told_.tell_crowd(settings_.most_clients);
    }
    return;
  }
  ++client_count_;
  set_up_client(fd);
  add_to(epoll_, fd);
  clients_[fd] = {fd, &where, peer_of(fd), {}, {}, false, EPOLLIN, 0};
}

// False when the client has gone, or is to go.
bool tcp_server::serve(client& who, std::uint32_t events) {
  if ((events & EPOLLIN) != 0 && !take_input(who)) return false;
  if ((events & (EPOLLERR | EPOLLHUP)) != 0 && (events & EPOLLIN) == 0) return false;
  return go_on(who);
}

bool tcp_server::go_on(client& who) {
  if (!send_output(who) || !answer_input(who)) return false;
  if (who.is_over && who.out.empty()) return false;
  watch(who);
  return true;
}

bool tcp_server::take_input(client& who) {
  std::array<std::uint8_t, input_block> block;
  const ssize_t got = ::recv(who.fd, block.data(), block.size(), 0);
  if (got < 0) return is_later(errno);
  who.is_over = got == 0;
  who.in.insert(who.in.end(), block.begin(), block.begin() + got);
  return true;
}

// As many requests as there are, until answers have to wait.
bool tcp_server::answer_input(client& who) {
  std::size_t done = 0;
  while (who.out.size() < most_output && who.held_until == 0) {
    const std::span<const std::uint8_t> rest = std::span(who.in).subspan(done);
    const tcp_frame frame = tcp_frame_at(rest);
    if (frame.state == tcp_frame_state::broken) return false;
    if (frame.state == tcp_frame_state::incomplete) break;
    answer_frame(who, rest.data(), frame.size);
    done += frame.size;
    if (who.out.size() >= most_output && !send_output(who)) return false;
  }
  who.in.erase(who.in.begin(), who.in.begin() + static_cast<std::ptrdiff_t>(done));
  return send_output(who);
}

void tcp_server::answer_frame(client& who, const std::uint8_t* frame, std::size_t size) {
  const std::size_t start = who.out.size();
  who.out.resize(start + longest_tcp_frame);
  std::uint8_t* const out = who.out.data() + start;
  const std::uint8_t number = frame[tcp_head_size - 1];
  const reply made =
      answers_.respond(*who.where, number, {frame + tcp_head_size, size - tcp_head_size},
                       {who.name, false}, out + tcp_head_size);
  if (made.size == 0) return who.out.resize(start);
  std::copy_n(frame, tcp_head_size, out);
  if (made.is_stale) out[1] = static_cast<std::uint8_t>(out[1] - 1);
  const std::size_t told = made.size + 1;
  out[4] = static_cast<std::uint8_t>(told >> 8);
  out[5] = static_cast<std::uint8_t>(told);
  who.out.resize(start + tcp_head_size + made.size);
  if (made.delay_ms == 0) return;
  who.held_until = clock_ms() + made.delay_ms;
  held_.emplace(who.held_until, who.fd);
}

bool tcp_server::send_output(client& who) {
  if (who.held_until != 0) return true;
  std::size_t sent = 0;
  while (sent < who.out.size()) {
    const ssize_t gone = ::send(who.fd, who.out.data() + sent, who.out.size() - sent, MSG_NOSIGNAL);
    if (gone < 0 && !is_later(errno)) return false;
    if (gone < 0) break;
    sent += static_cast<std::size_t>(gone);
  }
  who.out.erase(who.out.begin(), who.out.begin() + static_cast<std::ptrdiff_t>(sent));
  return true;
}

void tcp_server::watch(client& who) {
  const std::uint32_t wanted = who.out.empty() ? EPOLLIN : EPOLLOUT;
  const std::uint32_t interest = who.held_until != 0 ? 0 : wanted;
  if (std::exchange(who.interest, interest) == interest) return;
  epoll_event event = {};
  event.events = interest;
  event.data.fd = who.fd;
  ::epoll_ctl(epoll_, EPOLL_CTL_MOD, who.fd, &event);
}

void tcp_server::drop(int fd) {
  clients_.erase(fd);
  ::close(fd);
  if (settings_.ends_after_client) is_at_end_ = true;
}

}  // namespace ruvex
