#include "lines.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <tuple>

#include "interruption.h"

namespace ruvex {
namespace {

constexpr std::size_t most_line_threads = 64;

// Work for several threads: each takes the next line that nobody has.
struct shared_work {
  const std::function<void(std::size_t)>& act;
  const std::size_t count;
  std::atomic<std::size_t> next = 0;
  std::mutex lock;
  std::condition_variable ended;
  std::size_t running = 0;  // threads; under the lock
};

void* do_work(void* shared) {
  auto& work = *static_cast<shared_work*>(shared);
  for (std::size_t at = work.next++; at < work.count; at = work.next++) work.act(at);
  const std::lock_guard guard(work.lock);
  if (--work.running == 0) work.ended.notify_one();
  return nullptr;
}

// Runs act(0) to act(count - 1) on threads of their own, few enough for any system, and calls watch
// meanwhile. Where the system has no more threads, those that are there do the work, or this one:
// std::thread would end the program.
void run_side_by_side(std::size_t count, const std::function<void(std::size_t)>& act,
                      const std::function<void()>& watch) {
  shared_work work = {act, count, 0, {}, {}, std::min(count, most_line_threads)};
  std::vector<pthread_t> threads;
  for (std::size_t left = work.running; left > 0; --left) {
    pthread_t thread = {};
    if (::pthread_create(&thread, nullptr, do_work, &work) == 0) {
      threads.push_back(thread);
    } else {
      do_work(&work);
    }
  }
  std::unique_lock guard(work.lock);
  while (work.running > 0) {
    watch();
    work.ended.wait_for(guard, std::chrono::milliseconds(100));
  }
  guard.unlock();
  for (const pthread_t thread : threads) ::pthread_join(thread, nullptr);
}

}  // namespace

// A map, since a list may have thousands of hosts.
poll_lines::poll_lines(const device_list& devices, const transport_settings& settings)
    : devices_(devices), settings_(settings) {
  std::map<std::tuple<std::string, std::string>, poll_line*> known;
  for (std::size_t at = 0; at < devices.units.size(); ++at) {
    const bus_unit& unit = devices.units[at];
    if (unit.defect != unit_defect::none || unit.points.empty()) continue;
    const bool is_tcp = !unit.host.empty();
    const tcp_place place =
        is_tcp ? tcp_place{std::string(unit.host), settings.service} : settings.via;
    if (place.host.empty() && settings.serial.empty()) continue;
    poll_line*& line = known[{place.host, place.service}];
    if (line == nullptr) {
      lines_.push_back(std::make_unique<poll_line>());
      line = lines_.back().get();
      line->place = place;
      line->number = units_.size();
      units_.push_back({place.host.empty(), {}});
    }
    units_[line->number].numbers.push_back(at);
  }
  for (const auto& line : lines_) {
    line->server = {line->place.host.c_str(), line->place.service.c_str()};
    mod_line transport = {};
    mod_lineInit(&transport, mod_tcpOpen, &line->server, settings.timeout_ms);
    mod_clientInit(&line->client, MOD_TCP, transport);
    line->client.retries = settings.retries;
  }
}

poll_lines::~poll_lines() {
  for (const auto& line : lines_) mod_clientClose(&line->client);
}

bool poll_lines::open_port() {
  for (const auto& line : lines_) {
    if (!line->place.host.empty()) continue;
    port_ = std::make_unique<locked_port>(settings_.serial.c_str(), settings_.format, 1);
    if (!port_->is_open()) return false;
    mod_line transport = {};
    mod_lineInit(&transport, port_->descriptor(), settings_.timeout_ms, settings_.format.baud);
    mod_clientInit(&line->client, settings_.protocol, transport);
    line->client.retries = settings_.retries;
  }
  return true;
}

void poll_lines::poll_one(poll_line& line, const reader_settings& settings,
                          std::span<reading> readings, std::span<unit_sum> sums,
                          poll_state& state) const {
  for (const std::size_t number : units_[line.number].numbers) {
    const bus_unit& unit = devices_.units[number];
    unit_reader reader(line.client, settings, unit, readings, sums[number], state);
    if (!reader.run() || is_interrupted()) return;
  }
}

void poll_lines::poll(const reader_settings& settings, std::span<reading> readings,
                      std::span<unit_sum> sums, poll_state& state,
                      const std::function<void()>& watch) {
  for (const asked_units& line : units_) {
    for (const std::size_t number : line.numbers) sums[number].has_line = true;
  }
  const auto poll_line_at = [&](std::size_t at) {
    poll_one(*lines_[at], settings, readings, sums, state);
  };
  run_side_by_side(lines_.size(), poll_line_at, watch);
}

}  // namespace ruvex
