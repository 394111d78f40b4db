// Conversion between TAVVALUE and KnxStack::GroupValue through a table of
// converters indexed by KNX datapoint type.
//
// Thread safety: a KnxValueConverter is written only by Init and is
// read-only afterwards; concurrent conversions on one initialised instance
// are safe. Init must not run concurrently with anything else on the same
// instance.
#pragma once

#include "Zel/Export.h"
#include "Zel/KnxConverter.h"
#include "Zel/KnxDpt.h"

#include "BasePlatform/TavValue.h"
#include "KnxStack/GroupValue.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace Zel {

// One row of the table: the DPT, the platform value type and subtype it
// maps to, and the row's own converter. Copies clone the converter; the
// row deletes it.
class ZEL_EXPORT DptValueEntry {
 public:
  DptValueEntry(const KNXDPT& dpt, TavValueType valueType, TavDP::TavValueSubType valueSubType,
                const KnxConverter& prototype);
  DptValueEntry(const DptValueEntry& other);
  DptValueEntry& operator=(const DptValueEntry& other);
  virtual ~DptValueEntry();

  KNXDPT dpt;
  TavValueType valueType;
  TavDP::TavValueSubType valueSubType;
  std::unique_ptr<KnxConverter> converter;  // null only in a broken row
};

// The table: main number -> sub number -> row. A row with sub number 0 is
// the main number's wildcard ("9.x"): it serves every sub number of that
// main number that has no row of its own.
class ZEL_EXPORT DptValueMap {
 public:
  virtual ~DptValueMap();

  void Clear();
  // Copies `entry` in under (main, sub) of `dpt`. The first row registered
  // for a pair stays; a later one is dropped and still counts as success
  // (intended: duplicate registrations are not failures).
  bool Insert(const KNXDPT& dpt, const DptValueEntry& entry);
  // The exact row, else the main number's wildcard row, else (after an
  // ERROR entry "No Entry found for DPT = m.s") the empty entry. The bit
  // size plays no part. Allocates nothing on a hit.
  const DptValueEntry& GetEntry(const KNXDPT& dpt) const;

  std::size_t Size() const;
  const std::map<std::uint16_t, std::map<std::uint16_t, DptValueEntry>>& Rows() const {
    return m_rows;
  }

  // What lookups answer when nothing matches: DPT 0.0 of 0 bits, value
  // type 1 (by which callers recognise it), a KnxConverterDefault. Created
  // once, thread-safely, on first use.
  static const DptValueEntry& EmptyEntry();

 private:
  std::map<std::uint16_t, std::map<std::uint16_t, DptValueEntry>> m_rows;
};

class ZEL_EXPORT KnxValueConverter {
 public:
  KnxValueConverter();
  virtual ~KnxValueConverter();
  KnxValueConverter(const KnxValueConverter&) = delete;
  KnxValueConverter& operator=(const KnxValueConverter&) = delete;

  // Fills the table with the supported DPTs (clearing it first). Call once
  // before converting; before it, every DPT is accepted unconverted.
  bool Init();

  // Encodes `value` for `dpt` into `out`. A DPT with main number 0 is
  // completed in place from the value's type, else from the bit size. An
  // unknown DPT is accepted: true, `out` untouched. A GroupValueException
  // is logged and answered true (intended; FromKnxValue answers false).
  bool ToKnxValue(KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& out);
  // Decodes `in` for `dpt` into `value`. A DPT with main number 0 is
  // completed from the bit size (the DPT's, else the group value's). Sets
  // `value.ivt` to the row's type before converting, even when the
  // conversion then fails. A 6-bit group value (a short telegram) is
  // reinterpreted at the DPT's own size.
  bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& in, TAVVALUE& value);

  // `a` is the value's type, `b` the row's. Deliberately not symmetric.
  static bool AreValueTypesCompatible(TavValueType a, TavValueType b);
  // Main and sub from the bit size; false and nothing changed for a size
  // without a default.
  static bool GetDefaultMappingDptForSize(KNXDPT& dpt);
  // Main, sub and bit size from the value's type (and for floats, integers
  // and strings the current bit size); false and nothing changed otherwise.
  static bool GetDefaultMappingDptForValueType(KNXDPT& dpt, const TAVVALUE& value);
  // The size in bits that values of a main number have: 0 when unknown,
  // kAnySize when any size is accepted.
  static std::int32_t GetExpectedBitSize(std::uint16_t mainNumber);
  static constexpr std::int32_t kAnySize = 2147483647;

  bool AddDptValueMapEntry(std::uint16_t mainNumber, std::uint16_t subNumber, std::uint8_t bitSize,
                           TavValueType valueType, TavDP::TavValueSubType valueSubType,
                           const KnxConverter& prototype);
  const DptValueEntry& GetEntry(const KNXDPT& dpt) const;
  const DptValueMap& GetMap() const { return m_map; }

 private:
  bool FillDptValueMap();

  DptValueMap m_map;
};

// The converter for callers that hold values as the platform's serial text
// and may know only a bit size. Adds no decisions of its own: results and
// log entries are KnxValueConverter's.
class ZEL_EXPORT ZelKnxValueConverter {
 public:
  ZelKnxValueConverter();
  ~ZelKnxValueConverter();
  ZelKnxValueConverter(const ZelKnxValueConverter&) = delete;
  ZelKnxValueConverter& operator=(const ZelKnxValueConverter&) = delete;

  bool Init();

  bool ToKnxValue(KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& out);
  bool FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& in, TAVVALUE& value);
  // Deserialises `serialized` (its result unchecked: the value converts in
  // whatever state Deserialize left it) and encodes it for `dpt`.
  bool ToKnxValue(KNXDPT& dpt, const std::string& serialized, KnxStack::GroupValue& out);
  // The same with a DPT chosen from the value's type, else from the low 8
  // bits of `bitSize`.
  // On a 64-bit host a bit size above 0xFFFFFFFF, which no device call can
  // carry, fails as a DPT without a default does.
  bool ToKnxValue(const std::string& serialized, unsigned long bitSize, KnxStack::GroupValue& out);
  // Decodes with the default DPT of the group value's size and serialises
  // the value into `out`; `out` is untouched on failure.
  bool FromKnxValue(const KnxStack::GroupValue& in, std::string& out, bool internalFormat);

 private:
  KnxValueConverter m_converter;
};

}  // namespace Zel
