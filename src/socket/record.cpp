#include "ruvex/socket/record.h"

#include <unistd.h>

#include <cstdlib>

namespace ruvex {
namespace {

void close_stream(std::FILE* stream) noexcept {
  if (stream != nullptr) std::fclose(stream);
}

}  // namespace

void sktClose(Socket* skt) noexcept {
  if (skt == nullptr) return;
  close_stream(skt->m_fout);
  if (skt->m_fin != nullptr) {
    close_stream(skt->m_fin);  // and with it the descriptor
  } else if (skt->m_sock >= 0) {
    ::close(skt->m_sock);
  }
  if (skt->m_mode == SKT_CLIENT && skt->m_name[0] != '\0') ::unlink(skt->m_name);
  for (skt_address* address :
       {skt->m_sockaddr, skt->m_peeraddr, skt->m_fromaddr, skt->m_destaddr}) {
    std::free(address);
  }
  std::free(skt);
}

}  // namespace ruvex
