// The DPT catalogue: every fact the library keeps about a KNX datapoint
// type, in one place. Everything else is derived from it:
//   - the rows of the DPT table (KnxValueConverter::FillDptValueMap) from
//     kTableRows, in their order;
//   - the expected bit size of each main number (KnxValueConverter's size
//     check), the object model's value type, subtype and default of each
//     main number (KnxOmbMapping), and how the conversion by DPT code
//     encodes and decodes each main number (TavValueToGroupValue,
//     GroupValueToTavValue) from kMainRows;
//   - the default DPTs for a bit size or a value type (KnxValueConverter)
//     from kDefaultsBySize and kDefaultsByType.
// The two conversion paths deliberately differ for some DPTs; each such
// difference is a column of its own here, with the reason beside it.
//
// To add a DPT of an existing family: one row in kTableRows (and, for a new
// main number, one in kMainRows). See the README, "How to add a DPT".
#pragma once

#include "Zel/KnxConverter.h"

#include "BasePlatform/TavValue.h"

#include <array>
#include <cfloat>
#include <cstdint>
#include <string>
#include <type_traits>

namespace Zel {
namespace Catalogue {

// ---------------------------------------------------------------------------
// The DPT table: one row per DPT that KnxValueConverter converts.

// The converter kind of a row; WithPrototype below builds each kind's
// converter.
enum class Converter : std::uint8_t {
  Bit1,
  Bit2,
  Bit4,
  Char8,
  Byte8Unsigned,
  Integer8Signed,
  Status8,
  Integer16Unsigned,
  Integer16Signed,
  Float16,
  Float32,
  Integer24Unsigned,
  Integer32Unsigned,
  Integer32Signed,
  String14,
  TimeOfDay,
  Date,
  DateTime,
  SceneNumber,
  SceneControl,
  SceneInfo,
};

// A row's scaling range: its converter's four constructor arguments in
// order (for a FloatIntegerRange the integer bounds first). The converter
// kind says which range class they make.
struct Range {
  double a, b, c, d;
};
constexpr Range kNoRange{0, 0, 0, 0};
// The raw bounds against the same bounds, as most rows have them.
constexpr Range Span(double lower, double upper) {
  return {lower, upper, lower, upper};
}

struct TableRow {
  std::uint16_t mainNumber;
  std::uint16_t subNumber;  // 0: the main number's wildcard row ("9.x")
  std::uint8_t bitSize;
  TavValueType valueType;
  TavDP::TavValueSubType valueSubType;
  Converter converter;
  Range range;
  const char* label;  // in the failure message of the row
};

constexpr double kFloat16Min = -671088.64;
constexpr double kFloat16Max = 670760.96;
constexpr double kFloat32Max = FLT_MAX;

// In registration order. The particulars are the device's and are kept as
// they stand: 4.x and 4.001 are 7-bit, only 4.002 Latin-1 (likewise 16.x
// against 16.001); 5.006 stops at 254, 20.102 and 20.103 at 4; each 9.* row
// has its own span; 236.x is registered before 232.x.
inline constexpr TableRow kTableRows[] = {
    {1, 0, 1, ivtBool, TavDP::vstGeneric, Converter::Bit1, kNoRange, "1.x"},
    {2, 0, 2, ivtBool, TavDP::vstGeneric, Converter::Bit2, kNoRange, "2.x"},
    {3, 0, 4, ivtFloat, TavDP::vstDimmingStep, Converter::Bit4, {0, 15, -100.0, 100.0}, "3.x"},
    {4, 0, 8, ivtString, TavDP::vstAscii, Converter::Char8, Span(0, 127), "4.x"},
    {4, 1, 8, ivtString, TavDP::vstAscii, Converter::Char8, Span(0, 127), "4.001"},
    {4, 2, 8, ivtString, TavDP::vstLatin1, Converter::Char8, Span(0, 255), "4.002"},
    {5, 0, 8, ivtByte, TavDP::vstGeneric, Converter::Byte8Unsigned, Span(0, 255), "5.x"},
    {5, 6, 8, ivtByte, TavDP::vstGeneric, Converter::Byte8Unsigned, Span(0, 254), "5.006"},
    {6, 0, 8, ivtInteger, TavDP::vstGeneric, Converter::Integer8Signed, Span(-128, 127), "6.x"},
    // A status byte, unlike the rest of main 6.
    {6, 20, 8, ivtByte, TavDP::vstStatusMode, Converter::Status8, Span(0, 255), "6.020"},
    {7, 0, 16, ivtWord, TavDP::vstGeneric, Converter::Integer16Unsigned, Span(0, 65535), "7.x"},
    {8, 0, 16, ivtInteger, TavDP::vstGeneric, Converter::Integer16Signed, Span(-32768, 32767),
     "8.x"},
    {9, 0, 16, ivtFloat, TavDP::vstGeneric, Converter::Float16, Span(kFloat16Min, kFloat16Max),
     "9.x"},
    {9, 1, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-273.0, 670760.0), "9.001"},
    {9, 2, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.002"},
    {9, 3, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.003"},
    {9, 4, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(0.0, 670760.0), "9.004"},
    {9, 5, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(0.0, 670760.0), "9.005"},
    {9, 6, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(0.0, 670760.0), "9.006"},
    {9, 7, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(0.0, 670760.0), "9.007"},
    {9, 8, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(0.0, 670760.0), "9.008"},
    {9, 10, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.010"},
    {9, 11, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.011"},
    {9, 20, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.020"},
    {9, 21, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.021"},
    {9, 22, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.022"},
    {9, 23, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.023"},
    {9, 24, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.024"},
    {9, 25, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-670760.0, 670760.0),
     "9.025"},
    {9, 26, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(kFloat16Min, kFloat16Max),
     "9.026"},
    {9, 27, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(-459.6, kFloat16Max),
     "9.027"},
    {9, 28, 16, ivtFloat, TavDP::vstKnxFloat, Converter::Float16, Span(0.0, kFloat16Max), "9.028"},
    // The time type here; the object model (and so the conversion by DPT
    // code) uses the day-time type for main 10.
    {10, 0, 24, ivtTime, TavDP::vstGeneric, Converter::TimeOfDay, kNoRange, "10.x"},
    {11, 0, 24, ivtDate, TavDP::vstGeneric, Converter::Date, kNoRange, "11.x"},
    {12, 0, 32, ivtDWord, TavDP::vstGeneric, Converter::Integer32Unsigned, Span(0, 4294967295.0),
     "12.x"},
    {13, 0, 32, ivtInteger, TavDP::vstGeneric, Converter::Integer32Signed,
     Span(INT32_MIN, INT32_MAX), "13.x"},
    {14, 0, 32, ivtFloat, TavDP::vstGeneric, Converter::Float32, Span(-kFloat32Max, kFloat32Max),
     "14.x"},
    {15, 0, 32, ivtDWord, TavDP::vstGeneric, Converter::Integer32Unsigned, Span(0, 4294967295.0),
     "15.x"},
    {16, 0, 112, ivtString, TavDP::vstAscii, Converter::String14, Span(0, 127), "16.x"},
    {16, 1, 112, ivtString, TavDP::vstLatin1, Converter::String14, Span(0, 255), "16.001"},
    // The integer type, while the scene converters test and set the byte
    // type (so 18.001 refuses an integer value) and the object model keeps
    // mains 17 and 18 as bytes.
    {17, 0, 8, ivtInteger, TavDP::vstSceneNumber, Converter::SceneNumber, Span(0, 63), "17.x"},
    {18, 0, 8, ivtInteger, TavDP::vstSceneNumber, Converter::SceneControl, Span(0, 63), "18.x"},
    {19, 0, 64, ivtDateTime, TavDP::vstGeneric, Converter::DateTime, kNoRange, "19.x"},
    {20, 0, 8, ivtByte, TavDP::vstGeneric, Converter::Byte8Unsigned, Span(0, 255), "20.x"},
    {20, 102, 8, ivtByte, TavDP::vstGeneric, Converter::Byte8Unsigned, Span(0, 4), "20.102"},
    {20, 103, 8, ivtByte, TavDP::vstGeneric, Converter::Byte8Unsigned, Span(0, 4), "20.103"},
    {21, 0, 8, ivtByte, TavDP::vstGeneric, Converter::Byte8Unsigned, Span(0, 255), "21.x"},
    {23, 0, 8, ivtByte, TavDP::vstGeneric, Converter::Byte8Unsigned, Span(0, 255), "23.x"},
    // -64..64 against 0..255, as the device has it.
    {26, 0, 8, ivtByte, TavDP::vstGeneric, Converter::SceneInfo, {-64, 64, 0, 255}, "26.x"},
    {27, 0, 32, ivtDWord, TavDP::vstGeneric, Converter::Integer32Unsigned, Span(0, 4294967295.0),
     "27.x"},
    {236, 0, 8, ivtByte, TavDP::vstGeneric, Converter::Byte8Unsigned, Span(0, 255), "236.x"},
    {232, 0, 24, ivtDWord, TavDP::vstGeneric, Converter::Integer24Unsigned, Span(0, 16777215),
     "232.x"},
    {238, 0, 8, ivtByte, TavDP::vstGeneric, Converter::Byte8Unsigned, Span(0, 255), "238.x"},
};

// Calls `use` with the prototype converter of `row`, its range built, and
// answers what `use` answers (its default for a value outside the kinds).
template <class Use>
auto WithPrototype(const TableRow& row, Use use) -> decltype(use(KnxConverter1Bit())) {
  const Range& r = row.range;
  const auto ints = [&r] {
    return IntegerRange(static_cast<std::int32_t>(r.a), static_cast<std::int32_t>(r.b),
                        static_cast<std::int32_t>(r.c), static_cast<std::int32_t>(r.d));
  };
  const auto longInts = [&r] {
    return LongIntegerRange(static_cast<std::int64_t>(r.a), static_cast<std::int64_t>(r.b),
                            static_cast<std::int64_t>(r.c), static_cast<std::int64_t>(r.d));
  };
  const auto floats = [&r] { return FloatRange(r.a, r.b, r.c, r.d); };
  using C = Converter;
  switch (row.converter) {
    case C::Bit1: return use(KnxConverter1Bit());
    case C::Bit2: return use(KnxConverter2Bit());
    case C::Bit4:
      return use(KnxConverter4Bit(FloatIntegerRange(static_cast<std::int32_t>(r.a),
                                                    static_cast<std::int32_t>(r.b), r.c, r.d)));
    case C::Char8: return use(KnxConverter8BitString(ints()));
    case C::Byte8Unsigned: return use(KnxConverterByte8BitUnsigned(ints()));
    case C::Integer8Signed: return use(KnxConverterInteger8BitSigned(ints()));
    case C::Status8: return use(KnxConverterStatus8Bit(ints()));
    case C::Integer16Unsigned: return use(KnxConverterInteger16BitUnsigned(ints()));
    case C::Integer16Signed: return use(KnxConverterInteger16BitSigned(ints()));
    case C::Float16: return use(KnxConverterFloat16BitFloat(floats()));
    case C::Float32: return use(KnxConverterFloat32BitFloat(floats()));
    case C::Integer24Unsigned: return use(KnxConverterInteger24BitUnsigned(longInts()));
    case C::Integer32Unsigned: return use(KnxConverterInteger32BitUnsigned(longInts()));
    case C::Integer32Signed: return use(KnxConverterInteger32BitSigned(ints()));
    case C::String14: return use(KnxConverter14ByteString(ints()));
    case C::TimeOfDay: return use(KnxConverterTimeOfDay());
    case C::Date: return use(KnxConverterDate());
    case C::DateTime: return use(KnxConverterDateTime());
    case C::SceneNumber: return use(KnxConverterSceneNumber(ints()));
    case C::SceneControl: return use(KnxConverterSceneControl(ints()));
    case C::SceneInfo: return use(KnxConverterSceneInfo(ints()));
  }
  return {};
}

namespace Detail {
template <class T, class = void>
struct HasRange : std::false_type {};
template <class T>
struct HasRange<T, std::void_t<decltype(std::declval<const T&>().GetRange())>> : std::true_type {};
}  // namespace Detail

// The range of a row's converter as ToString writes it; "-" for a kind
// without a range.
inline std::string RangeText(const TableRow& row) {
  return WithPrototype(row, [](const auto& prototype) -> std::string {
    if constexpr (Detail::HasRange<std::decay_t<decltype(prototype)>>::value) {
      return ToString(prototype.GetRange());
    } else {
      return "-";
    }
  });
}

// ---------------------------------------------------------------------------
// Main numbers: one row per main number that has an expected bit size or a
// row in the object model.

// What the conversion by DPT code writes for a main number (TAVVALUE to
// group value).
enum class Encoding : std::uint8_t {
  None,               // not supported: "Value type ... not supported"
  Boolean,            // SetAsBoolean of the byte
  Unsigned2,          // SetAsUnsigned2 of the byte
  Unsigned4,          // SetAsUnsigned4 of the byte
  Unsigned8,          // SetAsUnsigned8 of the byte
  Signed8,            // SetAsSigned8 of the byte read as signed
  Unsigned16Clamped,  // above 65535: logged, then 65535 sent
  Signed16Saturated,  // outside -32768..32767: logged, then saturated and sent
  Float16,            // non-finite refused without a message
  TimeOfDay,
  Date,
  Unsigned32,
  Signed32,
  Float32,
  String14,
  SceneNumber,  // above 63 refused without a message
  DateTime,
  Unsigned24,  // three octets
};

// What the conversion by DPT code reads for a main number (group value to
// TAVVALUE).
enum class Decoding : std::uint8_t {
  None,  // no value
  Boolean,
  Unsigned2,
  Unsigned3,
  Unsigned4,
  Unsigned8,
  Signed8AsByte,  // the signed octet kept as its unsigned octet (-1 is 255)
  Unsigned16,
  Signed16,
  Float16,
  TimeOfDay,
  Date,
  Raw32,  // the first four raw octets (three for a 3-octet value)
  Signed32,
  Float32,
  String14,
  DateTime,
};

// The object model's default value of a main number's type.
enum class DefaultValue : std::uint8_t {
  None,   // no object-model row
  Empty,  // the platform's empty value (rows of the empty type)
  Zero,
  EmptyText,
  NoDate,  // no date and midnight, local time
};

// Any size: the largest, so that KnxValueConverter::kAnySize is this value.
constexpr std::int32_t kAny = INT32_MAX;

struct MainRow {
  std::uint16_t mainNumber;
  std::int32_t bitSize;  // expected size in bits; 0 unknown, kAny any
  // The object model's row; defaultValue None when it has none.
  TavValueType modelType;
  TavDP::TavValueSubType modelSubType;
  DefaultValue defaultValue;
  Encoding encoding;
  Decoding decoding;
};

// Shorthands for the rows below.
constexpr TavValueType kNoModel = ivtEmpty;
using E = Encoding;
using D = Decoding;
using V = DefaultValue;

// Sorted by main number. The subtypes say how a row's value is to be read
// where one of the platform's subtypes describes the whole main number: 1
// switch, 9 KNX 2-octet float, 17 scene number; the others are generic.
inline constexpr MainRow kMainRows[] = {
    {1, 1, ivtBool, TavDP::vstSwitch, V::Zero, E::Boolean, D::Boolean},
    {2, 2, ivtByte, TavDP::vstGeneric, V::Zero, E::Unsigned2, D::Unsigned2},
    {3, 4, ivtByte, TavDP::vstGeneric, V::Zero, E::Unsigned4, D::Unsigned4},
    // The empty type, so that both directions refuse characters.
    {4, 8, ivtEmpty, TavDP::vstGeneric, V::Empty, E::None, D::None},
    {5, 8, ivtByte, TavDP::vstGeneric, V::Zero, E::Unsigned8, D::Unsigned8},
    // A byte in the object model, while the table has signed integers.
    {6, 8, ivtByte, TavDP::vstGeneric, V::Zero, E::Signed8, D::Signed8AsByte},
    {7, 16, ivtWord, TavDP::vstGeneric, V::Zero, E::Unsigned16Clamped, D::Unsigned16},
    {8, 16, ivtInteger, TavDP::vstGeneric, V::Zero, E::Signed16Saturated, D::Signed16},
    {9, 16, ivtFloat, TavDP::vstKnxFloat, V::Zero, E::Float16, D::Float16},
    {10, 24, ivtDayTime, TavDP::vstGeneric, V::NoDate, E::TimeOfDay, D::TimeOfDay},
    {11, 24, ivtDate, TavDP::vstGeneric, V::NoDate, E::Date, D::Date},
    {12, 32, ivtDWord, TavDP::vstGeneric, V::Zero, E::Unsigned32, D::Raw32},
    {13, 32, ivtInteger, TavDP::vstGeneric, V::Zero, E::Signed32, D::Signed32},
    {14, 32, ivtFloat, TavDP::vstGeneric, V::Zero, E::Float32, D::Float32},
    {15, 32, ivtDWord, TavDP::vstGeneric, V::Zero, E::Unsigned32, D::Raw32},
    {16, 112, ivtString, TavDP::vstGeneric, V::EmptyText, E::String14, D::String14},
    // Encoding refuses scene numbers above 63; decoding reads any octet.
    {17, 8, ivtByte, TavDP::vstSceneNumber, V::Zero, E::SceneNumber, D::Unsigned8},
    {18, 8, ivtByte, TavDP::vstGeneric, V::Zero, E::Unsigned8, D::Unsigned8},
    {19, 64, ivtDateTime, TavDP::vstGeneric, V::NoDate, E::DateTime, D::DateTime},
    {20, 8, ivtByte, TavDP::vstGeneric, V::Zero, E::Unsigned8, D::Unsigned8},
    {21, 8, ivtByte, TavDP::vstGeneric, V::Zero, E::Unsigned8, D::Unsigned8},
    {22, 16, ivtWord, TavDP::vstGeneric, V::Zero, E::Unsigned16Clamped, D::Unsigned16},
    {23, 8, ivtByte, TavDP::vstGeneric, V::Zero, E::Unsigned2, D::Unsigned2},
    // Rows with a type but no conversion by DPT code.
    {24, kAny, ivtString, TavDP::vstGeneric, V::EmptyText, E::None, D::None},
    {25, 8, ivtByte, TavDP::vstGeneric, V::Zero, E::None, D::None},
    {26, 8, ivtByte, TavDP::vstGeneric, V::Zero, E::Unsigned8, D::Unsigned8},
    {27, 32, ivtDWord, TavDP::vstGeneric, V::Zero, E::Unsigned32, D::Raw32},
    {28, kAny, ivtString, TavDP::vstGeneric, V::EmptyText, E::None, D::None},
    {29, 64, ivtEmpty, TavDP::vstGeneric, V::Empty, E::None, D::None},
    {30, 24, ivtDWord, TavDP::vstGeneric, V::Zero, E::None, D::None},
    // Decoded, while encoding refuses it.
    {31, 3, ivtByte, TavDP::vstGeneric, V::Zero, E::None, D::Unsigned3},
    {200, 9, ivtWord, TavDP::vstGeneric, V::Zero, E::None, D::None},
    {201, 16, ivtWord, TavDP::vstGeneric, V::Zero, E::None, D::None},
    {202, 16, ivtWord, TavDP::vstGeneric, V::Zero, E::None, D::None},
    {203, 24, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {204, 16, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {205, 24, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {206, 24, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {207, 16, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {209, 24, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {210, 32, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {211, 16, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {212, 48, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {213, 64, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {214, 32, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {215, 40, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {216, 40, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {217, 16, ivtWord, TavDP::vstGeneric, V::Zero, E::Unsigned16Clamped, D::Unsigned16},
    {218, 40, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {219, 48, ivtEmpty, TavDP::vstGeneric, V::Empty, E::None, D::None},
    {220, 32, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {221, 48, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {222, 48, ivtEmpty, TavDP::vstGeneric, V::Empty, E::None, D::None},
    {223, 24, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {224, 48, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {225, 24, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {229, 48, ivtEmpty, TavDP::vstGeneric, V::Empty, E::None, D::None},
    {230, 64, ivtEmpty, TavDP::vstGeneric, V::Empty, E::None, D::None},
    {231, 32, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    // Encoded as three octets, decoded from the raw octets as four.
    {232, 24, ivtDWord, TavDP::vstGeneric, V::Zero, E::Unsigned24, D::Raw32},
    {234, 16, ivtWord, TavDP::vstGeneric, V::Zero, E::Unsigned16Clamped, D::Unsigned16},
    {235, 48, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {236, 8, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {237, 16, ivtWord, TavDP::vstGeneric, V::Zero, E::Unsigned16Clamped, D::Unsigned16},
    {238, 8, ivtByte, TavDP::vstGeneric, V::Zero, E::Unsigned8, D::Unsigned8},
    {239, 16, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {240, 24, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
    {241, 32, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None},
};

// What a main number without a row answers: no size, no model, no conversion.
inline constexpr MainRow kNoMainRow{0, 0, kNoModel, TavDP::vstGeneric, V::None, E::None, D::None};

namespace Detail {
constexpr std::size_t kMainIndexSize = 242;  // main numbers 0..241
constexpr std::array<std::uint8_t, kMainIndexSize> MakeMainIndex() {
  std::array<std::uint8_t, kMainIndexSize> index{};
  for (std::uint8_t& i : index) {
    i = 0xFF;
  }
  for (std::size_t i = 0; i < std::size(kMainRows); ++i) {
    index[kMainRows[i].mainNumber] = static_cast<std::uint8_t>(i);
  }
  return index;
}
inline constexpr std::array<std::uint8_t, kMainIndexSize> kMainIndex = MakeMainIndex();
}  // namespace Detail

// The row of a main number, or kNoMainRow.
inline const MainRow& Main(unsigned long mainNumber) {
  if (mainNumber >= Detail::kMainIndexSize || Detail::kMainIndex[mainNumber] == 0xFF) {
    return kNoMainRow;
  }
  return kMainRows[Detail::kMainIndex[mainNumber]];
}

// ---------------------------------------------------------------------------
// Default DPTs for a DPT of main number 0.

// By bit size (KnxValueConverter::GetDefaultMappingDptForSize).
struct DefaultBySize {
  std::uint8_t bitSize;
  std::uint16_t mainNumber;
  std::uint16_t subNumber;
};
inline constexpr DefaultBySize kDefaultsBySize[] = {
    {1, 1, 1},   {2, 2, 1},    {4, 3, 7},    {8, 5, 0},   {16, 9, 0},   {24, 10, 1},
    {32, 14, 0}, {40, 218, 0}, {48, 219, 1}, {64, 19, 1}, {112, 16, 1},
};

// By value type, and for some types the current bit size
// (KnxValueConverter::GetDefaultMappingDptForValueType).
constexpr int kAnyBits = -1;
struct DefaultByType {
  TavValueType valueType;
  int currentBitSize;  // kAnyBits: whatever it is
  std::uint16_t mainNumber;
  std::uint16_t subNumber;
  std::uint8_t bitSize;
};
inline constexpr DefaultByType kDefaultsByType[] = {
    {ivtBool, kAnyBits, 1, 1, 1},
    {ivtDimming, kAnyBits, 3, 7, 4},
    {ivtByte, kAnyBits, 5, 0, 8},
    {ivtScaling, kAnyBits, 5, 1, 8},
    {ivtFloat, 0, 9, 0, 16},
    {ivtFloat, 4, 3, 0, 4},
    {ivtFloat, 8, 5, 1, 8},
    {ivtFloat, 16, 9, 0, 16},
    {ivtFloat, 32, 14, 0, 16},  // bit size 16 with 14.0: kept as the device has it
    {ivtTime, kAnyBits, 10, 1, 24},
    {ivtDate, kAnyBits, 11, 1, 24},
    {ivtDWord, kAnyBits, 12, 1, 32},
    {ivtInteger, 0, 13, 0, 32},
    {ivtInteger, 8, 6, 0, 8},
    {ivtInteger, 16, 8, 0, 16},
    {ivtTimePeriod, kAnyBits, 13, 100, 32},
    {ivtBinary, kAnyBits, 218, 0, 40},
    {ivtDateTime, kAnyBits, 19, 1, 64},
    {ivtString, 0, 16, 1, 112},
    {ivtString, 8, 4, 1, 8},
    {ivtString, 112, 16, 0, 8},  // bit size 8 with 16.0: kept as the device has it
};

}  // namespace Catalogue
}  // namespace Zel
