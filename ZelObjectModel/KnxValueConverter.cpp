#include "Zel/KnxValueConverter.h"

#include "NumericCast.h"

#include "ZelLog/Logging.h"

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

// Expected size in bits of the values of each main number 0..241.
constexpr std::int32_t kAny = KnxValueConverter::kAnySize;
constexpr std::array<std::int32_t, 242> MakeExpectedBitSizes() {
  std::array<std::int32_t, 242> sizes{};
  const std::pair<int, std::int32_t> known[] = {
      {1, 1},     {2, 2},     {3, 4},     {4, 8},     {5, 8},     {6, 8},     {7, 16},
      {8, 16},    {9, 16},    {10, 24},   {11, 24},   {12, 32},   {13, 32},   {14, 32},
      {15, 32},   {16, 112},  {17, 8},    {18, 8},    {19, 64},   {20, 8},    {21, 8},
      {22, 16},   {23, 8},    {24, kAny}, {25, 8},    {26, 8},    {27, 32},   {28, kAny},
      {29, 64},   {30, 24},   {31, 3},    {200, 9},   {201, 16},  {202, 16},  {203, 24},
      {204, 16},  {205, 24},  {206, 24},  {207, 16},  {209, 24},  {210, 32},  {211, 16},
      {212, 48},  {213, 64},  {214, 32},  {215, 40},  {216, 40},  {217, 16},  {218, 40},
      {219, 48},  {220, 32},  {221, 48},  {222, 48},  {223, 24},  {224, 48},  {225, 24},
      {229, 48},  {230, 64},  {231, 32},  {232, 24},  {234, 16},  {235, 48},  {236, 8},
      {237, 16},  {238, 8},   {239, 16},  {240, 24},  {241, 32}};
  for (const auto& entry : known) {
    sizes[static_cast<std::size_t>(entry.first)] = entry.second;
  }
  return sizes;
}
constexpr std::array<std::int32_t, 242> kExpectedBitSizes = MakeExpectedBitSizes();

bool IsOneOf(TavValueType type, std::initializer_list<TavValueType> types) {
  for (const TavValueType t : types) {
    if (t == type) {
      return true;
    }
  }
  return false;
}

}  // namespace

KnxValueConverter::KnxValueConverter() = default;

KnxValueConverter::~KnxValueConverter() { m_map.Clear(); }

bool KnxValueConverter::Init() { return FillDptValueMap(); }

std::int32_t KnxValueConverter::GetExpectedBitSize(std::uint16_t mainNumber) {
  return mainNumber < kExpectedBitSizes.size() ? kExpectedBitSizes[mainNumber] : 0;
}

bool KnxValueConverter::AreValueTypesCompatible(TavValueType a, TavValueType b) {
  if (a == b) {
    return true;
  }
  // Grouped by the value's type. The relation is deliberately one-sided:
  // the date-and-time types accept dates and times, not the other way round.
  switch (a) {
    case ivtFloat:
    case ivtPercent:
    case ivtScaling:
    case ivtDimming:
    case ivtAngle:
      return IsOneOf(b, {ivtFloat, ivtPercent, ivtScaling, ivtDimming, ivtAngle});
    case ivtInteger:
    case ivtTimePeriod:
      return IsOneOf(b, {ivtInteger, ivtTimePeriod});
    case ivtByte:
    case ivtEnumByte:
      return IsOneOf(b, {ivtByte, ivtEnumByte});
    case ivtWord:
    case ivtDWord:
    case ivtCounter:
      return IsOneOf(b, {ivtWord, ivtDWord, ivtCounter});
    case ivtDate:
    case ivtDateUtc:
      return IsOneOf(b, {ivtDate, ivtDateUtc});
    case ivtTime:
    case ivtTimeUtc:
      return IsOneOf(b, {ivtTime, ivtTimeUtc});
    case ivtDateTime:
    case ivtDateTimeUtc:
    case ivtTimestamp:
      return IsOneOf(b, {ivtDate, ivtTime, ivtDateTime, ivtTimestamp, ivtDateTimeUtc, ivtTimeUtc,
                         ivtDateUtc});
    default:
      return false;
  }
}

bool KnxValueConverter::GetDefaultMappingDptForSize(KNXDPT& dpt) {
  struct Mapping {
    std::uint8_t bitSize;
    std::uint16_t mainNumber;
    std::uint16_t subNumber;
  };
  static constexpr Mapping kMappings[] = {{1, 1, 1},   {2, 2, 1},    {4, 3, 7},    {8, 5, 0},
                                          {16, 9, 0},  {24, 10, 1},  {32, 14, 0},  {40, 218, 0},
                                          {48, 219, 1}, {64, 19, 1}, {112, 16, 1}};
  for (const Mapping& m : kMappings) {
    if (m.bitSize == dpt.bitSize) {
      dpt.mainNumber = m.mainNumber;
      dpt.subNumber = m.subNumber;
      return true;
    }
  }
  return false;
}

bool KnxValueConverter::GetDefaultMappingDptForValueType(KNXDPT& dpt, const TAVVALUE& value) {
  auto set = [&dpt](std::uint16_t main, std::uint16_t sub, std::uint8_t bits) {
    dpt.mainNumber = main;
    dpt.subNumber = sub;
    dpt.bitSize = bits;
    return true;
  };
  switch (value.ivt) {
    case ivtBool: return set(1, 1, 1);
    case ivtDimming: return set(3, 7, 4);
    case ivtByte: return set(5, 0, 8);
    case ivtScaling: return set(5, 1, 8);
    case ivtFloat:
      switch (dpt.bitSize) {
        case 0: return set(9, 0, 16);
        case 4: return set(3, 0, 4);
        case 8: return set(5, 1, 8);
        case 16: return set(9, 0, 16);
        case 32: return set(14, 0, 16);  // bit size 16 with 14.0: kept as the device has it
        default: return false;
      }
    case ivtTime: return set(10, 1, 24);
    case ivtDate: return set(11, 1, 24);
    case ivtDWord: return set(12, 1, 32);
    case ivtInteger:
      switch (dpt.bitSize) {
        case 0: return set(13, 0, 32);
        case 8: return set(6, 0, 8);
        case 16: return set(8, 0, 16);
        default: return false;
      }
    case ivtTimePeriod: return set(13, 100, 32);
    case ivtBinary: return set(218, 0, 40);
    case ivtDateTime: return set(19, 1, 64);
    case ivtString:
      switch (dpt.bitSize) {
        case 0: return set(16, 1, 112);
        case 8: return set(4, 1, 8);
        case 112: return set(16, 0, 8);  // bit size 8 with 16.0: kept as the device has it
        default: return false;
      }
    default: return false;
  }
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

bool KnxValueConverter::ToKnxValue(KNXDPT& dpt, const TAVVALUE& value,
                                   KnxStack::GroupValue& out) {
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

bool KnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& in,
                                     TAVVALUE& value) {
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
      ZEL_LOG_ERROR("Convert from KNX value failed for DPT = "
                    << DptText{dpt} << " GroupValue = " << in.GetRawData().ToString());
      return false;
    }
    return true;
  } catch (const KnxStack::GroupValueException& e) {
    ZEL_LOG_ERROR("Exception caught during conversion of GroupValue: " << e.what());
    return false;
  }
}

// The supported DPTs, in registration order. The rows keep the device's
// particulars as they are: 4.x and 4.001 are 7-bit (only 4.002 is Latin-1),
// likewise 16.x against 16.001; 6.020 is a byte with a status subtype, not
// an integer like the rest of 6; 5.006 stops at 254; 20.102 and 20.103 at 4;
// 26.x maps -64..64 onto 0..255; the 9.x rows have their own spans; 236.x
// is registered before 232.x. A failed row is logged and skipped, and the
// fill still answers true.
bool KnxValueConverter::FillDptValueMap() {
  m_map.Clear();
  auto add = [this](std::uint16_t main, std::uint16_t sub, std::uint8_t bits, TavValueType type,
                    TavDP::TavValueSubType subType, const KnxConverter& prototype,
                    const char* label) {
    if (!AddDptValueMapEntry(main, sub, bits, type, subType, prototype)) {
      ZEL_LOG_ERROR("Add DPT value map entry failed. DPT=" << label);
    }
  };
  using namespace TavDP;
  const auto bytes = [](std::int32_t lower, std::int32_t upper) {
    return IntegerRange(lower, upper, lower, upper);
  };
  const auto floats = [](double lower, double upper) {
    return FloatRange(lower, upper, lower, upper);
  };
  const auto dwords = [](std::int64_t lower, std::int64_t upper) {
    return LongIntegerRange(lower, upper, lower, upper);
  };
  constexpr double kFloat16Min = -671088.64;
  constexpr double kFloat16Max = 670760.96;
  constexpr double kFltMax = FLT_MAX;

  add(1, 0, 1, ivtBool, vstGeneric, KnxConverter1Bit(), "1.x");
  add(2, 0, 2, ivtBool, vstGeneric, KnxConverter2Bit(), "2.x");
  add(3, 0, 4, ivtFloat, vstDimmingStep, KnxConverter4Bit(FloatIntegerRange(0, 15, -100.0, 100.0)), "3.x");
  add(4, 0, 8, ivtString, vstAscii, KnxConverter8BitString(bytes(0, 127)), "4.x");
  add(4, 1, 8, ivtString, vstAscii, KnxConverter8BitString(bytes(0, 127)), "4.001");
  add(4, 2, 8, ivtString, vstLatin1, KnxConverter8BitString(bytes(0, 255)), "4.002");
  add(5, 0, 8, ivtByte, vstGeneric, KnxConverterByte8BitUnsigned(bytes(0, 255)), "5.x");
  add(5, 6, 8, ivtByte, vstGeneric, KnxConverterByte8BitUnsigned(bytes(0, 254)), "5.006");
  add(6, 0, 8, ivtInteger, vstGeneric, KnxConverterInteger8BitSigned(bytes(-128, 127)), "6.x");
  add(6, 20, 8, ivtByte, vstStatusMode, KnxConverterStatus8Bit(bytes(0, 255)), "6.020");
  add(7, 0, 16, ivtWord, vstGeneric, KnxConverterInteger16BitUnsigned(bytes(0, 65535)), "7.x");
  add(8, 0, 16, ivtInteger, vstGeneric, KnxConverterInteger16BitSigned(bytes(-32768, 32767)), "8.x");
  add(9, 0, 16, ivtFloat, vstGeneric, KnxConverterFloat16BitFloat(floats(kFloat16Min, kFloat16Max)), "9.x");
  add(9, 1, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-273.0, 670760.0)), "9.001");
  add(9, 2, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.002");
  add(9, 3, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.003");
  add(9, 4, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(0.0, 670760.0)), "9.004");
  add(9, 5, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(0.0, 670760.0)), "9.005");
  add(9, 6, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(0.0, 670760.0)), "9.006");
  add(9, 7, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(0.0, 670760.0)), "9.007");
  add(9, 8, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(0.0, 670760.0)), "9.008");
  add(9, 10, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.010");
  add(9, 11, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.011");
  add(9, 20, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.020");
  add(9, 21, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.021");
  add(9, 22, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.022");
  add(9, 23, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.023");
  add(9, 24, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.024");
  add(9, 25, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-670760.0, 670760.0)), "9.025");
  add(9, 26, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(kFloat16Min, kFloat16Max)), "9.026");
  add(9, 27, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(-459.6, kFloat16Max)), "9.027");
  add(9, 28, 16, ivtFloat, vstKnxFloat, KnxConverterFloat16BitFloat(floats(0.0, kFloat16Max)), "9.028");
  add(10, 0, 24, ivtTime, vstGeneric, KnxConverterTimeOfDay(), "10.x");
  add(11, 0, 24, ivtDate, vstGeneric, KnxConverterDate(), "11.x");
  add(12, 0, 32, ivtDWord, vstGeneric, KnxConverterInteger32BitUnsigned(dwords(0, 4294967295)), "12.x");
  add(13, 0, 32, ivtInteger, vstGeneric, KnxConverterInteger32BitSigned(bytes(INT32_MIN, INT32_MAX)), "13.x");
  add(14, 0, 32, ivtFloat, vstGeneric, KnxConverterFloat32BitFloat(floats(-kFltMax, kFltMax)), "14.x");
  add(15, 0, 32, ivtDWord, vstGeneric, KnxConverterInteger32BitUnsigned(dwords(0, 4294967295)), "15.x");
  add(16, 0, 112, ivtString, vstAscii, KnxConverter14ByteString(bytes(0, 127)), "16.x");
  add(16, 1, 112, ivtString, vstLatin1, KnxConverter14ByteString(bytes(0, 255)), "16.001");
  add(17, 0, 8, ivtInteger, vstSceneNumber, KnxConverterSceneNumber(bytes(0, 63)), "17.x");
  add(18, 0, 8, ivtInteger, vstSceneNumber, KnxConverterSceneControl(bytes(0, 63)), "18.x");
  add(19, 0, 64, ivtDateTime, vstGeneric, KnxConverterDateTime(), "19.x");
  add(20, 0, 8, ivtByte, vstGeneric, KnxConverterByte8BitUnsigned(bytes(0, 255)), "20.x");
  add(20, 102, 8, ivtByte, vstGeneric, KnxConverterByte8BitUnsigned(bytes(0, 4)), "20.102");
  add(20, 103, 8, ivtByte, vstGeneric, KnxConverterByte8BitUnsigned(bytes(0, 4)), "20.103");
  add(21, 0, 8, ivtByte, vstGeneric, KnxConverterByte8BitUnsigned(bytes(0, 255)), "21.x");
  add(23, 0, 8, ivtByte, vstGeneric, KnxConverterByte8BitUnsigned(bytes(0, 255)), "23.x");
  add(26, 0, 8, ivtByte, vstGeneric, KnxConverterSceneInfo(IntegerRange(-64, 64, 0, 255)), "26.x");
  add(27, 0, 32, ivtDWord, vstGeneric, KnxConverterInteger32BitUnsigned(dwords(0, 4294967295)), "27.x");
  add(236, 0, 8, ivtByte, vstGeneric, KnxConverterByte8BitUnsigned(bytes(0, 255)), "236.x");
  add(232, 0, 24, ivtDWord, vstGeneric, KnxConverterInteger24BitUnsigned(dwords(0, 16777215)), "232.x");
  add(238, 0, 8, ivtByte, vstGeneric, KnxConverterByte8BitUnsigned(bytes(0, 255)), "238.x");
  return true;
}

// ---------------------------------------------------------------------------
// ZelKnxValueConverter

ZelKnxValueConverter::ZelKnxValueConverter() = default;

ZelKnxValueConverter::~ZelKnxValueConverter() = default;

bool ZelKnxValueConverter::Init() { return m_converter.Init(); }

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
  if (!Narrow32(bitSize)) {
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
