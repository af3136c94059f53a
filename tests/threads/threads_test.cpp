// What the library does not share between threads, under the thread sanitizer above all.
#include <fcntl.h>
#include <netinet/in.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "cfg/document_text.h"
#include "gtest/gtest.h"
#include "ruvex/cfg/xml_reader.h"
#include "ruvex/cfg/xml_writer.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/transaction.h"
#include "ruvex/serial/serial.h"
#include "ruvex/socket/address.h"
#include "ruvex/socket/bind.h"
#include "ruvex/socket/connect.h"
#include "ruvex/socket/transfer.h"
#include "ruvex/util/base64.h"
#include "ruvex/util/log.h"
#include "ruvex/util/sar.h"
#include "ruvex/util/semaphore_set.h"
#include "ruvex/util/shared_memory.h"
#include "ruvex/util/str.h"
#include "support/temporary_file.h"

namespace ruvex {
namespace {

void use_containers(const std::string& text) {
  const sar_ptr sar(sarNew(8, true));
  for (int at = 0; at < 500; ++at) {
    const str_ptr str(strNewS((text + std::to_string(at)).c_str()));
    EXPECT_EQ(sarAdd(sar.get(), str->text), at);
    const bar_ptr bytes(base64decodeData("Zm9v"));
    EXPECT_STREQ(base64_text_ptr(barBase64encode(bytes.get())).get(), "Zm9v");
  }
  EXPECT_EQ(sarGet(sar.get(), 499), text + "499");
}

void use_sockets(const std::string& text) {
  for (int round = 0; round < 20; ++round) {
    const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0));
    sockaddr_in own = {};
    socklen_t size = sizeof own;
    ::getsockname(listener->m_sock, reinterpret_cast<sockaddr*>(&own), &size);
    const socket_ptr udp(sktNew(AF_INET, SOCK_DGRAM));
    const bool is_one = text == "one";
    EXPECT_EQ(sktSetDest(udp.get(), is_one ? "127.0.0.1" : "127.0.0.2", 9), 0);
    EXPECT_EQ(udp->m_destaddr->inet.sin_addr.s_addr, htonl(is_one ? 0x7F000001 : 0x7F000002));
    const socket_ptr client(sktNew(AF_INET, SOCK_STREAM));
    EXPECT_EQ(sktConnectHost(client.get(), "localhost", ntohs(own.sin_port), 2000), 0);
    const socket_ptr server(sktAcceptTimeout(listener.get(), 2000));
    const auto length = static_cast<int>(text.size());
    EXPECT_EQ(sktSendS(client.get(), text.c_str()), length);
    std::string got(text.size(), ' ');
    EXPECT_EQ(sktRecv(server.get(), got.data(), length), length);
    EXPECT_EQ(got, text);
  }
}

void read_documents(const std::string& text) {
  const std::string document = "<yax_cfg><unit_cfg><chn_cfg name='" + text +
                               "'/></unit_cfg><x><y/></x><dns1>" + text + "</dns1></yax_cfg>";
  for (int round = 0; round < 200; ++round) {
    const yax_cfg_ptr doc(parse_xml_cfg(document.data(), static_cast<int>(document.size())));
    EXPECT_EQ(doc == nullptr ? "null" : changes_text(*doc),
              "dns1='" + text + "'{[name='" + text + "']}");
  }
}

// What one sends the other has received.
void carry(const mod_ctx& from, mod_ctx& to) {
  std::memcpy(to.buffer, from.tx_buffer, sizeof to.buffer);
  to.length = from.tx_length;
}

void exchange_messages(const std::string& text) {
  mod_ctx master = {}, slave = {};
  for (mod_ctx* ctx : {&master, &slave}) mod_init(ctx, MOD_RTU, nullptr, nullptr, nullptr);
  for (int round = 0; round < 200; ++round) {
    mod_mex asked = {}, got = {};
    asked.fcn = 3;
    asked.count = 2;
    EXPECT_EQ(mod_masterTx(&master, &asked, MOD_SKIP_TX), 0);
    carry(master, slave);
    EXPECT_EQ(mod_slaveRx(&slave, &got, MOD_SKIP_RX), 0);
    text.copy(reinterpret_cast<char*>(got.data), 4);
    EXPECT_EQ(mod_slaveTx(&slave, &got, MOD_SKIP_TX), 0);
    carry(slave, master);
    EXPECT_EQ(mod_masterRx(&master, &asked, MOD_SKIP_RX), 0);
    EXPECT_EQ(std::memcmp(asked.data, got.data, 4), 0);
  }
}

// On a pseudo-terminal at a device path that is free; elsewhere there is nothing to try.
void use_serial_port(const std::string& text) {
  const int number = text == "one" ? 4 : 5, far = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  const std::string path = "/dev/ttyUSB" + std::to_string(number);
  char near[64] = {}, bytes[64];
  if (::grantpt(far) + ::unlockpt(far) + ::ptsname_r(far, near, sizeof near) == 0 &&
      ::symlink(near, path.c_str()) == 0) {
    for (int round = 0; round < 5; ++round) {
      const ser_port_ptr port(serOpen(10 + number, 9600, 20));
      serSendStr(port.get(), text.c_str());
      EXPECT_EQ(text.compare(0, 5, bytes, static_cast<std::size_t>(::read(far, bytes, 5))), 0);
    }
    ::unlink(path.c_str());
  }
  ::close(far);
}

SemHandle turn;
std::atomic<int> at_once = 0;

void use_shared_data(const std::string& text) {
  const std::string name = "/ruvex_threads_" + text;
  for (int round = 0; round < 50; ++round) {
    const shm_ptr memory(ShmOpen(name.c_str(), 16), {16}), again(ShmAttach(name.c_str()), {16});
    std::strcpy(static_cast<char*>(memory.get()), text.c_str());
    EXPECT_STREQ(static_cast<char*>(again.get()), text.c_str());
    EXPECT_EQ(ShmUnlink(name.c_str()) + SemWait(&turn) + at_once.fetch_add(1), 0);
    at_once = 0;
    EXPECT_EQ(SemPost(&turn), 0);
    SysLogS("%s", text.c_str());
  }
}

// One thread at a time writes.
void write_documents() {
  const yax_cfg_ptr doc(make_default_yax_cfg());
  const temporary_file file;
  for (int round = 0; round < 50; ++round) write_xml_cfg(doc.get(), file.path());
  const yax_cfg_ptr again(read_xml_cfg(file.path()));
  EXPECT_EQ(again == nullptr ? "null" : document_text(*again), document_text(*doc));
}

TEST(Threads, WorkAtOnceAndInTheirOwnData) {
  ASSERT_EQ(SemCreateSet(1) + SemInit(&turn, 1), 0);
  for (const auto& work : {use_containers, use_sockets, read_documents, exchange_messages,
                           use_serial_port, use_shared_data}) {
    std::thread one(work, "one"), other(work, "other");
    write_documents();
    one.join();
    other.join();
  }
  EXPECT_EQ(SemRemoveSet(), 0);
}

}  // namespace
}  // namespace ruvex
