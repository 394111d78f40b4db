// The readers of zelknx for scripts: group address lists (ETS CSV exports
// and projects), bus logs, and a live knxd. Each is the readers library's
// (tools/zelknx: GroupAddress.h, BusLine.h, Telegram.h, KnxdGroupSocket.h);
// the telegrams are the JSON objects of `zelknx decode -` and `zelknx
// monitor`, as dicts.
#include "Binding.h"
#include "LogBridge.h"

#include "BusLine.h"
#include "GroupAddress.h"
#include "ValueText.h"

#ifdef ZELKNX_WITH_KNXD
#include "KnxdGroupSocket.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <mutex>
#endif

#include <pybind11/stl.h>

#include <memory>
#include <stdexcept>

namespace ZelPython {
namespace {

using Guard = py::call_guard<LogDelivery>;

// A group address list and the file it came from (named in messages).
struct GroupAddresses {
  std::shared_ptr<const Zelknx::GroupAddressTable> table;
  std::string source;
};

template <class Read>
GroupAddresses ReadList(const std::string& path, Read read) {
  try {
    return {std::make_shared<const Zelknx::GroupAddressTable>(read()), path};
  } catch (const std::runtime_error& error) {
    throw py::value_error(error.what());
  }
}

std::uint16_t ReadAddress(py::handle address) {
  if (py::isinstance<py::str>(address)) {
    const auto parsed = Zelknx::ParseGroupAddress(address.cast<std::string>());
    if (parsed)
      return *parsed;
  } else if (py::isinstance<py::int_>(address)) {
    const auto number = address.cast<long long>();
    if (number >= 0 && number <= 65535)
      return static_cast<std::uint16_t>(number);
  }
  throw py::value_error("bad group address " + std::string(py::repr(address)) +
                        " (write '1/2/3', '1/234', or a number 0..65535)");
}

py::object EntryDict(const Zelknx::GroupAddressEntry& entry) {
  return ToPython(Zelknx::EntryJson(entry, entry.style));
}

const Zelknx::GroupAddressTable* TableOf(const GroupAddresses* addresses) {
  return addresses != nullptr ? addresses->table.get() : nullptr;
}

// telegrams(): the decoded telegrams of an iterable of log lines.
class LogTelegrams {
 public:
  LogTelegrams(py::iterable lines, std::shared_ptr<GroupAddresses> addresses, bool table)
      : m_lines(py::iter(lines)), m_addresses(std::move(addresses)), m_table(table) {}

  py::object Next() {
    while (true) {
      const py::object line = py::reinterpret_steal<py::object>(PyIter_Next(m_lines.ptr()));
      if (!line) {
        if (PyErr_Occurred())
          throw py::error_already_set();
        throw py::stop_iteration();
      }
      ++m_number;
      std::string text = line.cast<std::string>();
      while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
      const auto result =
          Zelknx::DecodeLogLine(text, m_number, TableOf(m_addresses.get()),
                                m_addresses ? m_addresses->source : std::string(), m_table);
      if (result)
        return ToPython(result->json);
    }
  }

 private:
  py::iterator m_lines;
  std::shared_ptr<GroupAddresses> m_addresses;
  bool m_table;
  std::size_t m_number = 0;
};

#ifdef ZELKNX_WITH_KNXD
// Monitor: the group telegrams of a running knxd.
//
// Thread-safety: one thread receives at a time (m_receiving); close() may
// come from any thread, or from a signal handler on the receiving thread:
// it wakes a blocked receive through the stop pipe, and the socket is
// closed by whichever of the two finishes last with it.
class Monitor {
 public:
  Monitor(const std::string& url, std::shared_ptr<GroupAddresses> addresses, bool table)
      : m_addresses(std::move(addresses)), m_table(table) {
    if (pipe2(m_stop, O_CLOEXEC | O_NONBLOCK) != 0)
      throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    try {
      py::gil_scoped_release release;  // connecting to ip: may take a while
      m_socket = std::make_unique<Zelknx::KnxdGroupSocket>(url);
    } catch (const Zelknx::KnxdError& error) {
      ClosePipe();
      throw Unreachable(error.what());
    }
  }
  ~Monitor() {
    m_socket.reset();
    ClosePipe();
  }
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;

  // The next telegram as a dict; None after `timeoutSeconds` (None: no
  // time-out) or once closed (then `closed` is set).
  py::object Receive(const boost::optional<double>& timeoutSeconds, bool& closed) {
    std::unique_lock<std::recursive_mutex> lock(m_receiving, std::defer_lock);
    {
      py::gil_scoped_release release;
      lock.lock();
    }
    const auto start = std::chrono::steady_clock::now();
    while (true) {
      if (m_closed) {
        m_socket.reset();
        closed = true;
        return py::none();
      }
      // In slices, so that Python's signal handlers (Ctrl-C) run meanwhile.
      int slice = kSliceMs;
      if (timeoutSeconds) {
        const double left =
            *timeoutSeconds -
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (left <= 0)
          return py::none();
        slice = std::min(kSliceMs, static_cast<int>(std::ceil(left * 1000)));
      }
      boost::optional<Zelknx::Telegram> telegram;
      try {
        py::gil_scoped_release release;
        telegram = m_socket->Next(m_stop[0], slice);
      } catch (const Zelknx::KnxdError& error) {
        throw Unreachable(error.what());
      }
      if (telegram)
        return ToPython(
            Zelknx::DecodeTelegram(*telegram, TableOf(m_addresses.get()), m_table).json);
      if (PyErr_CheckSignals() != 0)
        throw py::error_already_set();
    }
  }

  void Close() {
    m_closed = true;
    const char byte = 1;
    const ssize_t written = write(m_stop[1], &byte, 1);
    (void)written;  // a full pipe already says "stop"
    std::unique_lock<std::recursive_mutex> lock(m_receiving, std::try_to_lock);
    if (lock.owns_lock())
      m_socket.reset();  // else the receiving thread does, on its way out
  }

  bool Closed() const { return m_closed; }

 private:
  static constexpr int kSliceMs = 100;

  // knxd out of reach or gone: ConnectionError.
  static py::error_already_set Unreachable(const char* message) {
    PyErr_SetString(PyExc_ConnectionError, message);
    return py::error_already_set();
  }

  void ClosePipe() {
    for (int& fd : m_stop) {
      if (fd >= 0)
        close(fd);
      fd = -1;
    }
  }

  std::shared_ptr<GroupAddresses> m_addresses;
  bool m_table;
  int m_stop[2] = {-1, -1};
  std::atomic<bool> m_closed{false};
  std::recursive_mutex m_receiving;
  std::unique_ptr<Zelknx::KnxdGroupSocket> m_socket;  // guarded by m_receiving
};
#endif

}  // namespace

void AddReaders(py::module_& module) {
  py::class_<GroupAddresses, std::shared_ptr<GroupAddresses>>(
      module, "GroupAddresses",
      "A group address list: its entries by address, each a dict with 'address' "
      "('1/2/3'), 'name' and 'dpt' ('9.001' or None). Pass it to telegrams() and Monitor "
      "for the DPTs of their group addresses.")
      .def_static(
          "from_csv",
          [](const std::string& path) {
            return ReadList(path, [&] { return Zelknx::GroupAddressTable::Load(path); });
          },
          Guard(), py::arg("path"),
          "Reads an ETS group address export (CSV, any of its formats). ValueError names "
          "the file and the line of what is wrong.")
      .def_static(
          "from_project",
          [](const std::string& path, const boost::optional<std::string>& password) {
            return ReadList(path, [&] {
              return Zelknx::GroupAddressTable::LoadProject(path, password.value_or(""));
            });
          },
          Guard(), py::arg("path"), py::arg("password") = py::none(),
          "Reads the group addresses of an ETS project (.knxproj; the password of a "
          "protected one). ValueError names the file and what is wrong.")
      .def_readonly("source", &GroupAddresses::source, "The file the list was read from.")
      .def("__len__", [](const GroupAddresses& list) { return list.table->Size(); })
      .def("__contains__",
           [](const GroupAddresses& list, const py::object& address) {
             return list.table->Find(ReadAddress(address)) != nullptr;
           })
      .def(
          "__getitem__",
          [](const GroupAddresses& list, const py::object& address) {
            const Zelknx::GroupAddressEntry* entry = list.table->Find(ReadAddress(address));
            if (entry == nullptr)
              throw py::key_error(std::string(py::str(address)));
            return EntryDict(*entry);
          },
          "The entry of a group address ('1/2/3', '1/234' or its number); KeyError when the "
          "list has none.")
      .def(
          "__iter__",
          [](const GroupAddresses& list) {
            py::list entries;
            for (const auto& entry : list.table->Entries())
              entries.append(EntryDict(entry.second));
            return py::iter(entries);
          },
          "Every entry, in address order.")
      .def("__repr__", [](const GroupAddresses& list) {
        return "<GroupAddresses " + std::string(py::repr(Text(list.source))) + ", " +
               std::to_string(list.table->Size()) + " entries>";
      });

  py::class_<LogTelegrams>(module, "_LogTelegrams")
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", &LogTelegrams::Next, Guard());
  module.def(
      "telegrams",
      [](py::iterable lines, std::shared_ptr<GroupAddresses> addresses, bool table) {
        return LogTelegrams(lines, std::move(addresses), table);
      },
      py::arg("lines"), py::arg("addresses") = py::none(), py::kw_only(), py::arg("table") = false,
      "The group telegrams of log lines (an open file, a list of str), decoded, one dict "
      "each as `zelknx --json decode -` gives them: for a telegram 'line' (its number) and "
      "the monitor's keys ('time' where the line has one, 'src', 'dst', 'name', 'dpt', "
      "'apci', 'hex', 'value', 'unit', and 'error' where the library refuses the value); for "
      "a 'DPT HEX' or 'GA HEX' line 'line', ('dst', 'group'), 'dpt', 'type', 'value', "
      "'name', 'unit'; for a line that cannot be decoded {'line': N, 'error': '...'}. Lines "
      "without a telegram are passed over. Reads the logs of knxd, eibd and knxtool and "
      "frames in hex, as zelknx does. "
      "addresses: a GroupAddresses for the DPTs of the group addresses.");

#ifdef ZELKNX_WITH_KNXD
  py::class_<Monitor>(module, "Monitor",
                      "The group telegrams of a running knxd, live: an iterator of dicts as "
                      "`zelknx monitor --json` prints them ('time', 'src', 'dst', 'name', "
                      "'dpt', 'apci', 'hex', 'value', 'unit', and 'error' where the library "
                      "refuses the value). close() ends it, also from another thread while an "
                      "iteration waits; usable with `with`. ConnectionError when knxd is out "
                      "of reach or goes away.")
      .def(py::init<const std::string&, std::shared_ptr<GroupAddresses>, bool>(), Guard(),
           py::arg("url") = "local:/run/knx", py::arg("addresses") = py::none(), py::kw_only(),
           py::arg("table") = false)
      .def("__iter__", [](py::object self) { return self; })
      .def(
          "__next__",
          [](Monitor& monitor) {
            bool closed = false;
            py::object telegram = monitor.Receive(boost::none, closed);
            if (closed)
              throw py::stop_iteration();
            return telegram;
          },
          Guard())
      .def(
          "receive",
          [](Monitor& monitor, const boost::optional<double>& timeout) {
            bool closed = false;
            return monitor.Receive(timeout, closed);
          },
          Guard(), py::arg("timeout") = py::none(),
          "The next telegram, or None after `timeout` seconds or once closed.")
      .def("close", &Monitor::Close, Guard(),
           "Ends the monitor; an iteration waiting in another thread ends too.")
      .def_property_readonly("closed", &Monitor::Closed)
      .def("__enter__", [](py::object self) { return self; })
      .def(
          "__exit__", [](Monitor& monitor, py::args) { monitor.Close(); }, Guard());
#endif
}

}  // namespace ZelPython
