#include "KnxdGroupSocket.h"

#include <eibclient.h>

#include <poll.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>

namespace Zelknx {
namespace {

// The APDU as knxd hands it over: TPCI/APCI octets, then the data; a
// 2-octet APDU carries the 6-bit short form in its last octet. None for a
// service other than group value read, response and write.
boost::optional<Telegram> ReadApdu(const std::uint8_t* apdu, int length) {
  if (length < 2)
    return boost::none;
  const unsigned service = ((apdu[0] & 0x03u) << 2) | (apdu[1] >> 6);
  Telegram telegram;
  if (service == 0) {
    telegram.apci = Apci::Read;
  } else if (service == 1) {
    telegram.apci = Apci::Response;
  } else if (service != 2) {
    return boost::none;
  }
  if (telegram.apci != Apci::Read) {
    telegram.shortForm = length == 2;
    if (telegram.shortForm) {
      telegram.octets.push_back(apdu[1] & 0x3Fu);
    } else {
      telegram.octets.assign(apdu + 2, apdu + length);
    }
  }
  return telegram;
}

}  // namespace

KnxdGroupSocket::KnxdGroupSocket(const std::string& url) : m_url(url) {
  m_connection = EIBSocketURL(url.c_str());
  if (m_connection == nullptr)
    throw KnxdError("cannot connect to knxd at " + url + ": " + std::strerror(errno));
  if (EIBOpen_GroupSocket(m_connection, 0) == -1) {
    const std::string why = std::strerror(errno);
    EIBClose(m_connection);
    throw KnxdError("knxd at " + url + " refused a group socket: " + why);
  }
}

KnxdGroupSocket::~KnxdGroupSocket() {
  EIBClose(m_connection);
}

boost::optional<Telegram> KnxdGroupSocket::Next(int stopFd, int timeoutMs) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  std::array<std::uint8_t, 256> apdu{};
  for (;;) {
    const int complete = EIB_Poll_Complete(m_connection);
    if (complete == -1)
      throw KnxdError("lost the connection to knxd at " + m_url);
    if (complete == 0) {
      int wait = -1;
      if (timeoutMs >= 0) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0)
          return boost::none;
        wait = static_cast<int>(left);
      }
      std::array<pollfd, 2> fds = {{{EIB_Poll_FD(m_connection), POLLIN, 0}, {stopFd, POLLIN, 0}}};
      const nfds_t count = stopFd >= 0 ? 2 : 1;
      if (poll(fds.data(), count, wait) < 0 && errno != EINTR)
        throw KnxdError(std::string("poll: ") + std::strerror(errno));
      if (stopFd >= 0 && (fds[1].revents & POLLIN) != 0)
        return boost::none;
      continue;
    }
    eibaddr_t src = 0;
    eibaddr_t dst = 0;
    const int length =
        EIBGetGroup_Src(m_connection, static_cast<int>(apdu.size()), apdu.data(), &src, &dst);
    if (length < 0)
      throw KnxdError("lost the connection to knxd at " + m_url);
    auto telegram = ReadApdu(apdu.data(), length);
    if (!telegram)
      continue;
    telegram->time = LocalTimeNow();
    telegram->source = src;
    telegram->destination = dst;
    return telegram;
  }
}

}  // namespace Zelknx
