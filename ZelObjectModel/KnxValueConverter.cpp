#include "Zel/KnxValueConverter.h"

#include "DptCatalogue.h"
#include "NumericCast.h"

#include "Zel/Log.h"

#include <array>
#include <cfloat>
#include <initializer_list>

#define ZEL_LOG_SOURCE "ZelObjectModel/KnxValueConverter"

namespace Zel {

// ---------------------------------------------------------------------------
// DptValueEntry

DptValueEntry::DptValueEntry(const KNXDPT& dpt_, TavValueType valueType_,
                             TavDP::TavValueSubType valueSubType_, const KnxConverter& prototype)
    : dpt(dpt_), valueType(valueType_), valueSubType(valueSubType_), converter(prototype.Clone()) {}

DptValueEntry::DptValueEntry(const DptValueEntry& other)
    : dpt(other.dpt),
      valueType(other.valueType),
      valueSubType(other.valueSubType),
      converter(other.converter ? other.converter->Clone() : nullptr) {}

DptValueEntry& DptValueEntry::operator=(const DptValueEntry& other) {
  if (this != &other) {
    dpt = other.dpt;
    valueType = other.valueType;
    valueSubType = other.valueSubType;
    converter.reset(other.converter ? other.converter->Clone() : nullptr);
  }
  return *this;
}

DptValueEntry::~DptValueEntry() = default;

// ---------------------------------------------------------------------------
// DptValueMap

DptValueMap::~DptValueMap() = default;

void DptValueMap::Clear() {
  for (auto& main : m_rows) {
    main.second.clear();
  }
  m_rows.clear();
}

bool DptValueMap::Insert(const KNXDPT& dpt, const DptValueEntry& entry) {
  const auto main = m_rows.find(dpt.mainNumber);
  if (main != m_rows.end()) {
    if (main->second.count(dpt.subNumber) != 0) {
      return true;  // the first registration stays; a duplicate is not a failure (intended)
    }
    return main->second.emplace(dpt.subNumber, entry).second;
  }
  const auto inserted = m_rows.emplace(dpt.mainNumber, std::map<std::uint16_t, DptValueEntry>());
  if (!inserted.second) {
    return false;
  }
  return inserted.first->second.emplace(dpt.subNumber, entry).second;
}

const DptValueEntry& DptValueMap::GetEntry(const KNXDPT& dpt) const {
  const auto main = m_rows.find(dpt.mainNumber);
  if (main != m_rows.end()) {
    const auto exact = main->second.find(dpt.subNumber);
    if (exact != main->second.end()) {
      return exact->second;
    }
    if (dpt.subNumber != 0) {
      const auto wildcard = main->second.find(0);
      if (wildcard != main->second.end()) {
        return wildcard->second;
      }
    }
  }
  ZEL_LOG_ERROR("No Entry found for DPT = " << DptText{dpt});
  return EmptyEntry();
}

std::size_t DptValueMap::Size() const {
  std::size_t size = 0;
  for (const auto& main : m_rows) {
    size += main.second.size();
  }
  return size;
}

const DptValueEntry& DptValueMap::EmptyEntry() {
  static const DptValueEntry empty(KNXDPT{}, ivtEmpty, TavDP::vstGeneric, KnxConverterDefault());
  return empty;
}

// ---------------------------------------------------------------------------
// KnxValueConverter

namespace {

// The families of value types whose values a row of another member of the
// family takes; each type is in one family at most.
enum class Family : std::uint8_t { None, Number, Integer, Byte, Word, Date, Time, DateTime };
Family FamilyOf(TavValueType type) {
  switch (type) {
    case ivtFloat:
    case ivtPercent:
    case ivtScaling:
    case ivtDimming:
    case ivtAngle: return Family::Number;
    case ivtInteger:
    case ivtTimePeriod: return Family::Integer;
    case ivtByte:
    case ivtEnumByte: return Family::Byte;
    case ivtWord:
    case ivtDWord:
    case ivtCounter: return Family::Word;
    case ivtDate:
    case ivtDateUtc: return Family::Date;
    case ivtTime:
    case ivtTimeUtc: return Family::Time;
    case ivtDateTime:
    case ivtDateTimeUtc:
    case ivtTimestamp: return Family::DateTime;
    default: return Family::None;
  }
}

}  // namespace

KnxValueConverter::KnxValueConverter() = default;

KnxValueConverter::~KnxValueConverter() {
  m_map.Clear();
}

bool KnxValueConverter::Init() {
  return FillDptValueMap();
}

std::int32_t KnxValueConverter::GetExpectedBitSize(std::uint16_t mainNumber) {
  return Catalogue::Main(mainNumber).bitSize;
}

bool KnxValueConverter::AreValueTypesCompatible(TavValueType a, TavValueType b) {
  if (a == b) {
    return true;
  }
  // Within a family; and deliberately one-sided: the date-and-time types
  // accept dates and times, not the other way round.
  const Family fa = FamilyOf(a);
  const Family fb = FamilyOf(b);
  if (fa == Family::DateTime) {
    return fb == Family::DateTime || fb == Family::Date || fb == Family::Time;
  }
  return fa != Family::None && fa == fb;
}

bool KnxValueConverter::GetDefaultMappingDptForSize(KNXDPT& dpt) {
  for (const Catalogue::DefaultBySize& d : Catalogue::kDefaultsBySize) {
    if (d.bitSize == dpt.bitSize) {
      dpt.mainNumber = d.mainNumber;
      dpt.subNumber = d.subNumber;
      return true;
    }
  }
  return false;
}

bool KnxValueConverter::GetDefaultMappingDptForValueType(KNXDPT& dpt, const TAVVALUE& value) {
  for (const Catalogue::DefaultByType& d : Catalogue::kDefaultsByType) {
    if (d.valueType == value.ivt &&
        (d.currentBitSize == Catalogue::kAnyBits || d.currentBitSize == dpt.bitSize)) {
      dpt.mainNumber = d.mainNumber;
      dpt.subNumber = d.subNumber;
      dpt.bitSize = d.bitSize;
      return true;
    }
  }
  return false;
}

bool KnxValueConverter::AddDptValueMapEntry(std::uint16_t mainNumber, std::uint16_t subNumber,
                                            std::uint8_t bitSize, TavValueType valueType,
                                            TavDP::TavValueSubType valueSubType,
                                            const KnxConverter& prototype) {
  const KNXDPT dpt{bitSize, mainNumber, subNumber};
  const DptValueEntry entry(dpt, valueType, valueSubType, prototype);
  return m_map.Insert(dpt, entry);
}

const DptValueEntry& KnxValueConverter::GetEntry(const KNXDPT& dpt) const {
  return m_map.GetEntry(dpt);
}

bool KnxValueConverter::ToKnxValue(KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& out) {
  try {
    if (dpt.mainNumber == 0) {
      if (!GetDefaultMappingDptForValueType(dpt, value) && !GetDefaultMappingDptForSize(dpt)) {
        ZEL_LOG_INFO("Could not find DPT for bit size " << unsigned{dpt.bitSize});
        return false;
      }
      if (dpt.mainNumber == 0) {
        ZEL_LOG_ERROR("Convert to KNX value failed. Missing DPT. val = " << value.ToString());
        return false;
      }
    }
    const DptValueEntry& row = GetEntry(dpt);
    if (row.valueType == ivtEmpty) {
      // An unknown DPT is accepted unconverted.
      ZEL_LOG_ERROR("No Entry found for DPT = " << DptText{dpt});
      ZEL_LOG_ERROR("Assume validity and accept value!");
      return true;
    }
    if (value.ivt != ivtNone && !AreValueTypesCompatible(value.ivt, row.valueType)) {
      ZEL_LOG_ERROR("Invalid value type found for DPT = " << DptText{dpt}
                                                          << " val.ivt=" << value.ivt);
      return false;
    }
    if (!row.converter) {
      ZEL_LOG_ERROR("NULL pointer as KnxConverter for DPT = " << DptText{dpt});
      return false;
    }
    if (!row.converter->ToKnxValue(dpt, value, out)) {
      ZEL_LOG_ERROR("Convert to KNX value failed for DPT = " << DptText{dpt}
                                                             << " val = " << value.ToString());
      return false;
    }
    return true;
  } catch (const KnxStack::GroupValueException& e) {
    // Answered true, unlike FromKnxValue (intended).
    ZEL_LOG_ERROR("Exception caught during conversion of TAVVALUE to GroupValue: " << e.what());
    return true;
  }
}

bool KnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& in, TAVVALUE& value) {
  try {
    if (dpt.mainNumber == 0) {
      if (dpt.bitSize != 0) {
        if (!GetDefaultMappingDptForSize(dpt)) {
          ZEL_LOG_INFO("Could not find DPT for bit size " << unsigned{dpt.bitSize});
          return false;
        }
      } else {
        KNXDPT sized = dpt;
        sized.bitSize = static_cast<std::uint8_t>(in.GetDefinedSize());
        if (GetDefaultMappingDptForSize(sized)) {
          dpt = sized;
        }
      }
      if (dpt.mainNumber == 0) {
        ZEL_LOG_ERROR("Convert from KNX value failed. Missing DPT. GroupValue = "
                      << in.GetRawData().ToString());
        return false;
      }
    }
    const DptValueEntry& row = GetEntry(dpt);
    if (row.valueType == ivtEmpty) {
      ZEL_LOG_ERROR("No Entry found for DPT = " << DptText{dpt});
      ZEL_LOG_ERROR("Assume validity and accept value!");
      return true;
    }
    value.ivt = row.valueType;  // before converting, even if the conversion fails

    const std::int32_t expected = GetExpectedBitSize(dpt.mainNumber);
    const std::uint32_t actual = in.GetDefinedSize();
    KnxStack::GroupValue spare;
    bool mismatch = false;
    if (expected <= 6) {
      if (actual <= 6) {
        // Sub-byte DPTs take any size up to 6 bits without complaint
        // (intended); the value is read at the DPT's own size.
        spare = KnxStack::GroupValue(in.GetRawData(), static_cast<std::uint32_t>(expected));
      } else {
        mismatch = true;
      }
    } else {
      mismatch = static_cast<std::uint32_t>(expected) != actual;
    }
    // A 6-bit value (a short telegram) is reinterpreted at the DPT's size. For
    // DPTs above 6 bits the spare was never rebuilt, so the converter sees an
    // empty group value; kept as the device has it.
    const KnxStack::GroupValue& group = actual == 6 ? spare : in;
    if (mismatch && expected != kAnySize) {
      ZEL_LOG_ERROR("Failed to convert a GroupValue for DPT "
                    << DptText{dpt} << " because of unexpected bit size: " << actual
                    << ", expected: " << expected);
      return false;
    }
    if (!row.converter) {
      ZEL_LOG_ERROR("NULL pointer as KnxConverter for DPT = " << DptText{dpt});
      return false;
    }
    if (!row.converter->FromKnxValue(dpt, group, value)) {
      ZEL_LOG_ERROR("Convert from KNX value failed for DPT = " << DptText{dpt} << " GroupValue = "
                                                               << in.GetRawData().ToString());
      return false;
    }
    return true;
  } catch (const KnxStack::GroupValueException& e) {
    ZEL_LOG_ERROR("Exception caught during conversion of GroupValue: " << e.what());
    return false;
  }
}

static_assert(Catalogue::kAny == KnxValueConverter::kAnySize, "one value for any size");

// The rows of the DPT catalogue, in its order. A failed row is logged and
// skipped, and the fill still answers true.
bool KnxValueConverter::FillDptValueMap() {
  m_map.Clear();
  for (const Catalogue::TableRow& row : Catalogue::kTableRows) {
    const bool added = Catalogue::WithPrototype(row, [this, &row](const KnxConverter& prototype) {
      return AddDptValueMapEntry(row.mainNumber, row.subNumber, row.bitSize, row.valueType,
                                 row.valueSubType, prototype);
    });
    if (!added) {
      ZEL_LOG_ERROR("Add DPT value map entry failed. DPT=" << row.label);
    }
  }
  return true;
}

// ---------------------------------------------------------------------------
// ZelKnxValueConverter

ZelKnxValueConverter::ZelKnxValueConverter() = default;

ZelKnxValueConverter::~ZelKnxValueConverter() = default;

bool ZelKnxValueConverter::Init() {
  return m_converter.Init();
}

bool ZelKnxValueConverter::ToKnxValue(KNXDPT& dpt, const TAVVALUE& value,
                                      KnxStack::GroupValue& out) {
  return m_converter.ToKnxValue(dpt, value, out);
}

bool ZelKnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& in,
                                        TAVVALUE& value) {
  return m_converter.FromKnxValue(dpt, in, value);
}

bool ZelKnxValueConverter::ToKnxValue(KNXDPT& dpt, const std::string& serialized,
                                      KnxStack::GroupValue& out) {
  TAVVALUE value;
  value.Deserialize(serialized);  // unchecked: a refused text converts as the empty value
  return m_converter.ToKnxValue(dpt, value, out);
}

bool ZelKnxValueConverter::ToKnxValue(const std::string& serialized, unsigned long bitSize,
                                      KnxStack::GroupValue& out) {
  if (!Fits32(bitSize)) {
    ZEL_LOG_INFO("Could not find DPT for bit size " << bitSize);
    return false;
  }
  KNXDPT dpt{static_cast<std::uint8_t>(bitSize), 0, 0};  // low 8 bits: 300 becomes 44
  return ToKnxValue(dpt, serialized, out);
}

bool ZelKnxValueConverter::FromKnxValue(const KnxStack::GroupValue& in, std::string& out,
                                        bool internalFormat) {
  KNXDPT dpt{static_cast<std::uint8_t>(in.GetDefinedSize()), 0, 0};
  TAVVALUE value;
  if (!m_converter.FromKnxValue(dpt, in, value)) {
    return false;
  }
  value.Serialize(out, internalFormat);
  return true;
}

}  // namespace Zel
