// Shared pieces of the zelobjectmodel module: the ways a script names a
// DPT, Python objects from the readers' JSON objects, and the readers'
// part of the module (Readers.cpp).
#pragma once

#include "Telegram.h"

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <boost/optional.hpp>

#include <string>

// boost::optional arguments: None or the value.
namespace pybind11::detail {
template <class T>
struct type_caster<boost::optional<T>> : optional_caster<boost::optional<T>> {};
}  // namespace pybind11::detail

namespace ZelPython {

namespace py = pybind11;

// "9.001", "9.1", "9", "DPST-9-1", "DPT-9", "DPT_Value_Temp", (9, 1) or a
// numeric code (main * 65536 + sub); ValueError or TypeError otherwise.
Zel::KNXDPT ReadDpt(py::handle dpt);

// Text as Python str, each invalid UTF-8 sequence replaced by U+FFFD (as
// zelknx writes it): group names and decoded strings come from anywhere.
py::str Text(const std::string& text);

// The JSON object as Python objects: null None, numbers int or float,
// objects dict (in their order), arrays list.
py::object ToPython(const Zelknx::Json& json);

// GroupAddresses, telegrams() and Monitor.
void AddReaders(py::module_& module);

}  // namespace ZelPython
