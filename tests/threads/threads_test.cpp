// What the library does not share between threads, under the thread sanitizer above all.
#include <cstring>
#include <string>
#include <thread>

#include "cfg/document_text.h"
#include "ruvex/cfg/xml_reader.h"
#include "ruvex/cfg/xml_writer.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/transaction.h"
#include "ruvex/util/base64.h"
#include "ruvex/util/sar.h"
#include "ruvex/util/str.h"
#include "socket/socket_fixture.h"
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
  const char* const host = text == "one" ? "127.0.0.1" : "127.0.0.2";
  for (int round = 0; round < 20; ++round) {
    const socket_ptr udp(sktNew(AF_INET, SOCK_DGRAM));
    EXPECT_EQ(sktSetDest(udp.get(), host, 9), 0);
    EXPECT_EQ(udp->m_destaddr->inet.sin_addr.s_addr, string_to_in_addr(host));
    const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0)),
        client = connected_to(listener), server(sktAcceptTimeout(listener.get(), 2000));
    EXPECT_EQ(sktSendS(client.get(), text.c_str()), static_cast<int>(text.size()));
    EXPECT_EQ(received(server), text);
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

// One thread at a time writes.
void write_documents() {
  const yax_cfg_ptr doc(make_default_yax_cfg());
  const temporary_file file;
  for (int round = 0; round < 50; ++round) write_xml_cfg(doc.get(), file.path());
  const yax_cfg_ptr again(read_xml_cfg(file.path()));
  EXPECT_EQ(again == nullptr ? "null" : document_text(*again), document_text(*doc));
}

TEST(Threads, WorkAtOnceAndInTheirOwnData) {
  for (const auto& work : {use_containers, use_sockets, read_documents, exchange_messages}) {
    std::thread one(work, "one"), other(work, "other");
    write_documents();
    one.join();
    other.join();
  }
}

}  // namespace
}  // namespace ruvex
