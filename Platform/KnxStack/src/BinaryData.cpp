#include "KnxStack/GroupValue.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

namespace KnxStack {
namespace {

// `count` octets from `index` must lie inside a buffer of `length` octets.
void CheckRange(const char* accessor, std::size_t index, std::size_t count, std::size_t length) {
  if (index < length && length - index >= count)
    return;
  throw GroupValueException(std::string("BinaryData::") + accessor + "(" + std::to_string(index) +
                            ") needs " + std::to_string(count) + " octet(s) from index " +
                            std::to_string(index) + ", the buffer holds " + std::to_string(length));
}

}  // namespace

BinaryData::BinaryData(const std::uint8_t* data, std::size_t length) {
  Resize(length);
  if (length > 0)
    std::memcpy(MutableData(), data, length);
}

BinaryData::BinaryData(const BinaryData& other) : BinaryData(other.GetData(), other.m_length) {}

BinaryData& BinaryData::operator=(const BinaryData& other) {
  if (this == &other)
    return *this;
  // Drop the old contents first so that Resize copies nothing stale.
  m_length = 0;
  Resize(other.m_length);
  if (m_length > 0)
    std::memcpy(MutableData(), other.GetData(), m_length);
  return *this;
}

const std::uint8_t* BinaryData::GetData() const {
  return m_heap ? m_heap.get() : m_inline;
}

std::uint8_t* BinaryData::MutableData() {
  return m_heap ? m_heap.get() : m_inline;
}

// Grows or shrinks to `length` octets; new octets are zero. Storage never
// shrinks: once on the heap, the buffer stays there.
void BinaryData::Resize(std::size_t length) {
  const std::size_t capacity = m_heap ? m_heapCapacity : kInlineCapacity;
  if (length > capacity) {
    std::unique_ptr<std::uint8_t[]> heap(new std::uint8_t[length]());
    if (m_length > 0)
      std::memcpy(heap.get(), GetData(), m_length);
    m_heap = std::move(heap);
    m_heapCapacity = length;
  } else if (length > m_length) {
    std::memset(MutableData() + m_length, 0, length - m_length);
  }
  m_length = length;
}

std::uint8_t BinaryData::GetUInt8Value(std::size_t index) const {
  CheckRange("GetUInt8Value", index, 1, m_length);
  return GetData()[index];
}

void BinaryData::SetUInt8Value(std::size_t index, std::uint8_t value) {
  if (index == std::numeric_limits<std::size_t>::max()) {
    throw GroupValueException("BinaryData::SetUInt8Value: index " + std::to_string(index) +
                              " is too large");
  }
  if (index >= m_length)
    Resize(index + 1);
  MutableData()[index] = value;
}

std::uint32_t BinaryData::GetUInt24Value(std::size_t index) const {
  CheckRange("GetUInt24Value", index, 3, m_length);
  const std::uint8_t* p = GetData() + index;
  return (std::uint32_t{p[0]} << 16) | (std::uint32_t{p[1]} << 8) | p[2];
}

std::uint32_t BinaryData::GetUInt32Value(std::size_t index) const {
  CheckRange("GetUInt32Value", index, 1, m_length);
  const std::size_t count = std::min<std::size_t>(4, m_length - index);
  std::uint32_t result = 0;
  for (std::size_t i = 0; i < count; ++i)
    result = (result << 8) | GetData()[index + i];
  return result;
}

std::string BinaryData::ToString() const {
  std::string text;
  text.reserve(m_length * 3);
  for (std::size_t i = 0; i < m_length; ++i) {
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02x", static_cast<unsigned>(GetData()[i]));
    if (i > 0)
      text += ' ';
    text += hex;
  }
  return text;
}

bool operator==(const BinaryData& a, const BinaryData& b) {
  return a.m_length == b.m_length &&
         (a.m_length == 0 || std::memcmp(a.GetData(), b.GetData(), a.m_length) == 0);
}

}  // namespace KnxStack
