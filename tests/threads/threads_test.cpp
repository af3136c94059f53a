// What the library does not share between threads, under the thread sanitizer above all.
#include <netinet/in.h>

#include <string>
#include <thread>

#include "cfg/document_text.h"
#include "gtest/gtest.h"
#include "ruvex/cfg/xml_reader.h"
#include "ruvex/cfg/xml_writer.h"
#include "ruvex/socket/address.h"
#include "ruvex/socket/bind.h"
#include "ruvex/socket/connect.h"
#include "ruvex/socket/transfer.h"
#include "ruvex/util/base64.h"
#include "ruvex/util/sar.h"
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

// One thread at a time writes.
void write_documents() {
  const yax_cfg_ptr doc(make_default_yax_cfg());
  const temporary_file file;
  for (int round = 0; round < 50; ++round) write_xml_cfg(doc.get(), file.path());
  const yax_cfg_ptr again(read_xml_cfg(file.path()));
  EXPECT_EQ(again == nullptr ? "null" : document_text(*again), document_text(*doc));
}

TEST(Threads, WorkAtOnceAndInTheirOwnData) {
  for (const auto& work : {use_containers, use_sockets, read_documents}) {
    std::thread one(work, "one"), other(work, "other");
    write_documents();
    one.join();
    other.join();
  }
}

}  // namespace
}  // namespace ruvex
