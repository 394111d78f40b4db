// The per-DPT converters between TAVVALUE and KnxStack::GroupValue, and the
// scaling ranges they carry.
//
// Every converter follows one pattern: a DEBUG trace on entry, an
// acceptance test on the DPT's main/sub number and the value type, an
// optional range test, one group value setter or getter, and on refusal
// `false` plus exactly one ERROR entry. Converters hold no mutable state:
// both operations are re-entrant and may run on any thread.
//
// The acceptance tests differ on purpose from converter to converter (some
// test the main number, some the value type, some either, some all); which
// one each applies is part of its contract and is documented per class.
#pragma once

#include "Zel/Export.h"
#include "Zel/KnxDpt.h"

#include "BasePlatform/TavValue.h"
#include "KnxStack/GroupValue.h"

#include <cstdint>
#include <string>

namespace Zel {

// ---------------------------------------------------------------------------
// Scaling ranges. Each pairs the bounds of the raw KNX field (first pair)
// with the bounds the application sees (second pair) and keeps the factor
// between the spans. A degenerate range logs one ERROR entry and keeps the
// neutral factor 1.0; it never throws. Immutable after construction.

class ZEL_EXPORT IntegerRange {
 public:
  IntegerRange(std::int32_t internalLower, std::int32_t internalUpper, std::int32_t externalLower,
               std::int32_t externalUpper);
  // external span / internal span; the sign is kept, so reversed pairs give
  // a negative factor.
  void CalculateScaleFactor();

  std::int32_t m_internalLower;
  std::int32_t m_internalUpper;
  std::int32_t m_externalLower;
  std::int32_t m_externalUpper;
  double m_scaleFactor;
};

class ZEL_EXPORT LongIntegerRange {
 public:
  LongIntegerRange(std::int64_t internalLower, std::int64_t internalUpper,
                   std::int64_t externalLower, std::int64_t externalUpper);
  void CalculateScaleFactor();

  std::int64_t m_internalLower;
  std::int64_t m_internalUpper;
  std::int64_t m_externalLower;
  std::int64_t m_externalUpper;
  double m_scaleFactor;
};

class ZEL_EXPORT FloatIntegerRange {
 public:
  // The span of the KNX 2-octet float against the signed 32-bit span.
  FloatIntegerRange();
  // Note the argument order: integer bounds first, double bounds after them;
  // the fields keep the doubles first.
  FloatIntegerRange(std::int32_t integerLower, std::int32_t integerUpper, double doubleLower,
                    double doubleUpper);
  // integer span / double span, sign kept.
  void CalculateScaleFactor();

  double m_doubleLower;
  double m_doubleUpper;
  std::int32_t m_integerLower;
  std::int32_t m_integerUpper;
  double m_scaleFactor;
};

class ZEL_EXPORT FloatRange {
 public:
  FloatRange(double firstLower, double firstUpper, double secondLower, double secondUpper);
  // Width of the second pair / width of the first pair: always positive,
  // unlike the other ranges, whatever the order of the bounds (intended).
  void CalculateScaleFactor();

  double m_firstLower;
  double m_firstUpper;
  double m_secondLower;
  double m_secondUpper;
  double m_scaleFactor;
};

// Text forms for log messages. The 64-bit range deliberately prints the
// same "IntegerRange(" label as the 32-bit one.
ZEL_EXPORT std::string ToString(const IntegerRange& range);
ZEL_EXPORT std::string ToString(const LongIntegerRange& range);
ZEL_EXPORT std::string ToString(const FloatIntegerRange& range);
ZEL_EXPORT std::string ToString(const FloatRange& range);

// ---------------------------------------------------------------------------
// Converter base. Virtual operations in this slot order: destructor,
// deleting destructor, ToKnxValue, FromKnxValue, Clone.

class ZEL_EXPORT KnxConverter {
 public:
  virtual ~KnxConverter();
  // Encodes `value` for `dpt` into `group`; false when it cannot.
  virtual bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                          KnxStack::GroupValue& group) = 0;
  // Decodes `group` for `dpt` into `value`; false when it cannot.
  virtual bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                            TAVVALUE& value) = 0;
  // A new heap copy, range included; the caller owns it.
  virtual KnxConverter* Clone() const = 0;

 protected:
  KnxConverter() = default;
  KnxConverter(const KnxConverter&) = default;
  KnxConverter& operator=(const KnxConverter&) = default;
};

// Every converter below derives from KnxConverter and has its own Clone (a
// member-wise copy). Those that carry a scaling range take it at
// construction and keep it constant; GetRange reads it.

// Any DPT without a dedicated converter: the platform's raw byte form.
// Booleans go to 1.x and 2.x directly; a boolean for any other main number
// is accepted without writing anything (intended).
class ZEL_EXPORT KnxConverterDefault final : public KnxConverter {
 public:
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
};

// 1.x: boolean <-> 1 bit. Refuses silently (no log entry); decoding leaves
// the value type to the caller.
class ZEL_EXPORT KnxConverter1Bit final : public KnxConverter {
 public:
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
};

// 2.x: byte <-> 2 bits (bit 1 control, bit 0 value), passed on unchecked.
class ZEL_EXPORT KnxConverter2Bit final : public KnxConverter {
 public:
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
};

// 3.x: byte <-> 4 bits (bit 3 direction, bits 2..0 step code). Carries a
// range that it never consults; decoding leaves the value type to the caller.
class ZEL_EXPORT KnxConverter4Bit final : public KnxConverter {
 public:
  explicit KnxConverter4Bit(const FloatIntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const FloatIntegerRange& GetRange() const { return m_range; }

 private:
  const FloatIntegerRange m_range;
};

// 4.x: one character (the value's string) <-> one octet, ASCII within the
// range's first pair (0..127, or 0..255 for Latin-1 on 4.002).
class ZEL_EXPORT KnxConverter8BitString final : public KnxConverter {
 public:
  explicit KnxConverter8BitString(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 5.x and the other unsigned octets: encodes any byte (only 5.006 is
// range-tested); decodes only what lies inside the range's first pair,
// whatever the main number (intended asymmetry).
class ZEL_EXPORT KnxConverterByte8BitUnsigned final : public KnxConverter {
 public:
  explicit KnxConverterByte8BitUnsigned(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 6.x: the integer's low octet, signed; decoding refuses nothing.
class ZEL_EXPORT KnxConverterInteger8BitSigned final : public KnxConverter {
 public:
  explicit KnxConverterInteger8BitSigned(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 6.020: status bits 7..3 and a one-hot mode (1, 2 or 4) in bits 2..0.
// Encoding writes the octet before it checks the mode, so a refused octet
// stays in the group value (intended).
class ZEL_EXPORT KnxConverterStatus8Bit final : public KnxConverter {
 public:
  explicit KnxConverterStatus8Bit(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 7.x: the low 16 bits of the integer storage; no range test.
class ZEL_EXPORT KnxConverterInteger16BitUnsigned final : public KnxConverter {
 public:
  explicit KnxConverterInteger16BitUnsigned(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 8.x: the low 16 bits of the integer as a signed number; no range test.
class ZEL_EXPORT KnxConverterInteger16BitSigned final : public KnxConverter {
 public:
  explicit KnxConverterInteger16BitSigned(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 9.x: the KNX 2-octet float. 32767.0 encodes "no value"; the invalid-data
// word 0x7FFF decodes to value type 0.
class ZEL_EXPORT KnxConverterFloat16BitFloat final : public KnxConverter {
 public:
  explicit KnxConverterFloat16BitFloat(const FloatRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const FloatRange& GetRange() const { return m_range; }

 private:
  const FloatRange m_range;
};

// 14.x: IEEE single precision. A quiet NaN encodes "no value".
class ZEL_EXPORT KnxConverterFloat32BitFloat final : public KnxConverter {
 public:
  explicit KnxConverterFloat32BitFloat(const FloatRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const FloatRange& GetRange() const { return m_range; }

 private:
  const FloatRange m_range;
};

// 232.x: three octets, most significant first (R, G, B for 232.600).
class ZEL_EXPORT KnxConverterInteger24BitUnsigned final : public KnxConverter {
 public:
  explicit KnxConverterInteger24BitUnsigned(const LongIntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const LongIntegerRange& GetRange() const { return m_range; }

 private:
  const LongIntegerRange m_range;
};

// 12.x, 15.x, 27.x: four octets unsigned, range-tested both ways; encoding
// tests the value type only, never the main number (intended).
class ZEL_EXPORT KnxConverterInteger32BitUnsigned final : public KnxConverter {
 public:
  explicit KnxConverterInteger32BitUnsigned(const LongIntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const LongIntegerRange& GetRange() const { return m_range; }

 private:
  const LongIntegerRange m_range;
};

// 13.x: four octets signed, scaled through the range.
class ZEL_EXPORT KnxConverterInteger32BitSigned final : public KnxConverter {
 public:
  explicit KnxConverterInteger32BitSigned(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 16.x: up to 14 Latin-1 characters; characters above the range's upper
// bound (127 for ASCII, 255 for Latin-1) become "_".
class ZEL_EXPORT KnxConverter14ByteString final : public KnxConverter {
 public:
  explicit KnxConverter14ByteString(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 10.x: time of day with weekday, from and to the value's TAVTIME.
class ZEL_EXPORT KnxConverterTimeOfDay final : public KnxConverter {
 public:
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
};

// 11.x: calendar date 1990..2089, from and to the value's TAVTIME.
class ZEL_EXPORT KnxConverterDate final : public KnxConverter {
 public:
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
};

// 19.x: the 8-octet date and time with its flags octet.
class ZEL_EXPORT KnxConverterDateTime final : public KnxConverter {
 public:
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
};

// 17.x: scene number 0..63 from the integer storage.
class ZEL_EXPORT KnxConverterSceneNumber final : public KnxConverter {
 public:
  explicit KnxConverterSceneNumber(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 18.001 only: scene number with the learn bit 7; bit 6 is reserved.
class ZEL_EXPORT KnxConverterSceneControl final : public KnxConverter {
 public:
  explicit KnxConverterSceneControl(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

// 26.001 only: scene information; bit 7 is reserved.
class ZEL_EXPORT KnxConverterSceneInfo final : public KnxConverter {
 public:
  explicit KnxConverterSceneInfo(const IntegerRange& range);
  bool ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value, KnxStack::GroupValue& group) override;
  bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, TAVVALUE& value) override;
  KnxConverter* Clone() const override;
  const IntegerRange& GetRange() const { return m_range; }

 private:
  const IntegerRange m_range;
};

}  // namespace Zel
