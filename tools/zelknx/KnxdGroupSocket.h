// A group socket on a running knxd, through knxd's own client library
// (Debian's knxd-dev): every group telegram that knxd sees. Built where
// that library is found (ZELKNX_WITH_KNXD).
//
// Thread-safety: one socket is used by one thread at a time.
#pragma once

#include "Telegram.h"

#include <boost/optional.hpp>

#include <stdexcept>
#include <string>

struct _EIBConnection;

namespace Zelknx {

// knxd is out of reach, refused the socket or went away.
class KnxdError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class KnxdGroupSocket {
 public:
  // Connects to knxd at `url` (local:/run/knx, ip:HOST[:PORT]) and opens a
  // group socket; throws KnxdError.
  explicit KnxdGroupSocket(const std::string& url);
  ~KnxdGroupSocket();
  KnxdGroupSocket(const KnxdGroupSocket&) = delete;
  KnxdGroupSocket& operator=(const KnxdGroupSocket&) = delete;

  // The next group value read, response or write, stamped with the local
  // time of its arrival. None when `stopFd` (unless -1) becomes readable
  // first, or after `timeoutMs` (-1: no time-out). Other services are
  // passed over. Throws KnxdError when the connection is lost.
  boost::optional<Telegram> Next(int stopFd, int timeoutMs = -1);

  const std::string& Url() const { return m_url; }

 private:
  std::string m_url;
  _EIBConnection* m_connection = nullptr;
};

}  // namespace Zelknx
