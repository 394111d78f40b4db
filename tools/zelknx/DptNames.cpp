#include "DptNames.h"

#include "ValueText.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace Zelknx {
namespace {

// The main types of every main number that the library's DPT table or its
// object-model value types know, and the standard's subtypes of them that
// are in common use. Units as the standard writes them.
const std::vector<DptNameEntry> kTable = {
    {1, 0, "1-bit", ""},
    {1, 1, "DPT_Switch", ""},
    {1, 2, "DPT_Bool", ""},
    {1, 3, "DPT_Enable", ""},
    {1, 4, "DPT_Ramp", ""},
    {1, 5, "DPT_Alarm", ""},
    {1, 6, "DPT_BinaryValue", ""},
    {1, 7, "DPT_Step", ""},
    {1, 8, "DPT_UpDown", ""},
    {1, 9, "DPT_OpenClose", ""},
    {1, 10, "DPT_Start", ""},
    {1, 11, "DPT_State", ""},
    {1, 12, "DPT_Invert", ""},
    {1, 13, "DPT_DimSendStyle", ""},
    {1, 14, "DPT_InputSource", ""},
    {1, 15, "DPT_Reset", ""},
    {1, 16, "DPT_Ack", ""},
    {1, 17, "DPT_Trigger", ""},
    {1, 18, "DPT_Occupancy", ""},
    {1, 19, "DPT_Window_Door", ""},
    {1, 21, "DPT_LogicalFunction", ""},
    {1, 22, "DPT_Scene_AB", ""},
    {1, 23, "DPT_ShutterBlinds_Mode", ""},
    {1, 24, "DPT_DayNight", ""},
    {1, 100, "DPT_Heat_Cool", ""},
    {2, 0, "1-bit controlled", ""},
    {2, 1, "DPT_Switch_Control", ""},
    {2, 2, "DPT_Bool_Control", ""},
    {2, 3, "DPT_Enable_Control", ""},
    {2, 4, "DPT_Ramp_Control", ""},
    {2, 5, "DPT_Alarm_Control", ""},
    {2, 6, "DPT_BinaryValue_Control", ""},
    {2, 7, "DPT_Step_Control", ""},
    {2, 8, "DPT_Direction1_Control", ""},
    {2, 9, "DPT_Direction2_Control", ""},
    {2, 10, "DPT_Start_Control", ""},
    {2, 11, "DPT_State_Control", ""},
    {2, 12, "DPT_Invert_Control", ""},
    {3, 0, "3-bit controlled", ""},
    {3, 7, "DPT_Control_Dimming", ""},
    {3, 8, "DPT_Control_Blinds", ""},
    {4, 0, "character", ""},
    {4, 1, "DPT_Char_ASCII", ""},
    {4, 2, "DPT_Char_8859_1", ""},
    {5, 0, "8-bit unsigned value", ""},
    {5, 1, "DPT_Scaling", "%", "0..255 for 0..100 %"},
    {5, 3, "DPT_Angle", "°", "0..255 for 0..360 °"},
    {5, 4, "DPT_Percent_U8", "%"},
    {5, 5, "DPT_DecimalFactor", ""},
    {5, 6, "DPT_Tariff", ""},
    {5, 10, "DPT_Value_1_Ucount", "pulses"},
    {6, 0, "8-bit signed value", ""},
    {6, 1, "DPT_Percent_V8", "%"},
    {6, 10, "DPT_Value_1_Count", "pulses"},
    {6, 20, "DPT_Status_Mode3", ""},
    {7, 0, "2-octet unsigned value", ""},
    {7, 1, "DPT_Value_2_Ucount", "pulses"},
    {7, 2, "DPT_TimePeriodMsec", "ms"},
    {7, 3, "DPT_TimePeriod10MSec", "ms", "1 for 10 ms"},
    {7, 4, "DPT_TimePeriod100MSec", "ms", "1 for 100 ms"},
    {7, 5, "DPT_TimePeriodSec", "s"},
    {7, 6, "DPT_TimePeriodMin", "min"},
    {7, 7, "DPT_TimePeriodHrs", "h"},
    {7, 10, "DPT_PropDataType", ""},
    {7, 11, "DPT_Length_mm", "mm"},
    {7, 12, "DPT_UElCurrentmA", "mA"},
    {7, 13, "DPT_Brightness", "lux"},
    {7, 600, "DPT_Absolute_Colour_Temperature", "K"},
    {8, 0, "2-octet signed value", ""},
    {8, 1, "DPT_Value_2_Count", "pulses"},
    {8, 2, "DPT_DeltaTimeMsec", "ms"},
    {8, 3, "DPT_DeltaTime10MSec", "ms", "1 for 10 ms"},
    {8, 4, "DPT_DeltaTime100MSec", "ms", "1 for 100 ms"},
    {8, 5, "DPT_DeltaTimeSec", "s"},
    {8, 6, "DPT_DeltaTimeMin", "min"},
    {8, 7, "DPT_DeltaTimeHrs", "h"},
    {8, 10, "DPT_Percent_V16", "%", "1 for 0.01 %"},
    {8, 11, "DPT_Rotation_Angle", "°"},
    {8, 12, "DPT_Length_m", "m"},
    {9, 0, "2-octet float value", ""},
    {9, 1, "DPT_Value_Temp", "°C"},
    {9, 2, "DPT_Value_Tempd", "K"},
    {9, 3, "DPT_Value_Tempa", "K/h"},
    {9, 4, "DPT_Value_Lux", "lux"},
    {9, 5, "DPT_Value_Wsp", "m/s"},
    {9, 6, "DPT_Value_Pres", "Pa"},
    {9, 7, "DPT_Value_Humidity", "%"},
    {9, 8, "DPT_Value_AirQuality", "ppm"},
    {9, 9, "DPT_Value_AirFlow", "m³/h"},
    {9, 10, "DPT_Value_Time1", "s"},
    {9, 11, "DPT_Value_Time2", "ms"},
    {9, 20, "DPT_Value_Volt", "mV"},
    {9, 21, "DPT_Value_Curr", "mA"},
    {9, 22, "DPT_PowerDensity", "W/m²"},
    {9, 23, "DPT_KelvinPerPercent", "K/%"},
    {9, 24, "DPT_Power", "kW"},
    {9, 25, "DPT_Value_Volume_Flow", "l/h"},
    {9, 26, "DPT_Rain_Amount", "l/m²"},
    {9, 27, "DPT_Value_Temp_F", "°F"},
    {9, 28, "DPT_Value_Wsp_kmh", "km/h"},
    {9, 29, "DPT_Value_Absolute_Humidity", "g/m³"},
    {10, 0, "time", ""},
    {10, 1, "DPT_TimeOfDay", ""},
    {11, 0, "date", ""},
    {11, 1, "DPT_Date", ""},
    {12, 0, "4-octet unsigned value", ""},
    {12, 1, "DPT_Value_4_Ucount", "pulses"},
    {12, 100, "DPT_LongTimePeriod_Sec", "s"},
    {12, 101, "DPT_LongTimePeriod_Min", "min"},
    {12, 102, "DPT_LongTimePeriod_Hrs", "h"},
    {13, 0, "4-octet signed value", ""},
    {13, 1, "DPT_Value_4_Count", "pulses"},
    {13, 2, "DPT_FlowRate_m3/h", "m³/h", "1 for 0.0001 m³/h"},
    {13, 10, "DPT_ActiveEnergy", "Wh"},
    {13, 11, "DPT_ApparantEnergy", "VAh"},
    {13, 12, "DPT_ReactiveEnergy", "VARh"},
    {13, 13, "DPT_ActiveEnergy_kWh", "kWh"},
    {13, 14, "DPT_ApparantEnergy_kVAh", "kVAh"},
    {13, 15, "DPT_ReactiveEnergy_kVARh", "kVARh"},
    {13, 16, "DPT_ActiveEnergy_MWh", "MWh"},
    {13, 100, "DPT_LongDeltaTimeSec", "s"},
    {14, 0, "4-octet float value", ""},
    {14, 0, "DPT_Value_Acceleration", "m/s²"},
    {14, 1, "DPT_Value_Acceleration_Angular", "rad/s²"},
    {14, 2, "DPT_Value_Activation_Energy", "J/mol"},
    {14, 3, "DPT_Value_Activity", "s⁻¹"},
    {14, 4, "DPT_Value_Mol", "mol"},
    {14, 5, "DPT_Value_Amplitude", ""},
    {14, 6, "DPT_Value_AngleRad", "rad"},
    {14, 7, "DPT_Value_AngleDeg", "°"},
    {14, 8, "DPT_Value_Angular_Momentum", "J s"},
    {14, 9, "DPT_Value_Angular_Velocity", "rad/s"},
    {14, 10, "DPT_Value_Area", "m²"},
    {14, 11, "DPT_Value_Capacitance", "F"},
    {14, 12, "DPT_Value_Charge_DensitySurface", "C/m²"},
    {14, 13, "DPT_Value_Charge_DensityVolume", "C/m³"},
    {14, 14, "DPT_Value_Compressibility", "m²/N"},
    {14, 15, "DPT_Value_Conductance", "S"},
    {14, 16, "DPT_Value_Electrical_Conductivity", "S/m"},
    {14, 17, "DPT_Value_Density", "kg/m³"},
    {14, 18, "DPT_Value_Electric_Charge", "C"},
    {14, 19, "DPT_Value_Electric_Current", "A"},
    {14, 20, "DPT_Value_Electric_CurrentDensity", "A/m²"},
    {14, 21, "DPT_Value_Electric_DipoleMoment", "C m"},
    {14, 22, "DPT_Value_Electric_Displacement", "C/m²"},
    {14, 23, "DPT_Value_Electric_FieldStrength", "V/m"},
    {14, 24, "DPT_Value_Electric_Flux", "C"},
    {14, 25, "DPT_Value_Electric_FluxDensity", "C/m²"},
    {14, 26, "DPT_Value_Electric_Polarization", "C/m²"},
    {14, 27, "DPT_Value_Electric_Potential", "V"},
    {14, 28, "DPT_Value_Electric_PotentialDifference", "V"},
    {14, 29, "DPT_Value_ElectromagneticMoment", "A m²"},
    {14, 30, "DPT_Value_Electromotive_Force", "V"},
    {14, 31, "DPT_Value_Energy", "J"},
    {14, 32, "DPT_Value_Force", "N"},
    {14, 33, "DPT_Value_Frequency", "Hz"},
    {14, 34, "DPT_Value_Angular_Frequency", "rad/s"},
    {14, 35, "DPT_Value_Heat_Capacity", "J/K"},
    {14, 36, "DPT_Value_Heat_FlowRate", "W"},
    {14, 37, "DPT_Value_Heat_Quantity", "J"},
    {14, 38, "DPT_Value_Impedance", "Ω"},
    {14, 39, "DPT_Value_Length", "m"},
    {14, 40, "DPT_Value_Light_Quantity", "J"},
    {14, 41, "DPT_Value_Luminance", "cd/m²"},
    {14, 42, "DPT_Value_Luminous_Flux", "lm"},
    {14, 43, "DPT_Value_Luminous_Intensity", "cd"},
    {14, 44, "DPT_Value_Magnetic_FieldStrength", "A/m"},
    {14, 45, "DPT_Value_Magnetic_Flux", "Wb"},
    {14, 46, "DPT_Value_Magnetic_FluxDensity", "T"},
    {14, 47, "DPT_Value_Magnetic_Moment", "A m²"},
    {14, 48, "DPT_Value_Magnetic_Polarization", "T"},
    {14, 49, "DPT_Value_Magnetization", "A/m"},
    {14, 50, "DPT_Value_MagnetomotiveForce", "A"},
    {14, 51, "DPT_Value_Mass", "kg"},
    {14, 52, "DPT_Value_MassFlux", "kg/s"},
    {14, 53, "DPT_Value_Momentum", "N/s"},
    {14, 54, "DPT_Value_Phase_AngleRad", "rad"},
    {14, 55, "DPT_Value_Phase_AngleDeg", "°"},
    {14, 56, "DPT_Value_Power", "W"},
    {14, 57, "DPT_Value_Power_Factor", "cos Φ"},
    {14, 58, "DPT_Value_Pressure", "Pa"},
    {14, 59, "DPT_Value_Reactance", "Ω"},
    {14, 60, "DPT_Value_Resistance", "Ω"},
    {14, 61, "DPT_Value_Resistivity", "Ω m"},
    {14, 62, "DPT_Value_SelfInductance", "H"},
    {14, 63, "DPT_Value_SolidAngle", "sr"},
    {14, 64, "DPT_Value_Sound_Intensity", "W/m²"},
    {14, 65, "DPT_Value_Speed", "m/s"},
    {14, 66, "DPT_Value_Stress", "Pa"},
    {14, 67, "DPT_Value_Surface_Tension", "N/m"},
    {14, 68, "DPT_Value_Common_Temperature", "°C"},
    {14, 69, "DPT_Value_Absolute_Temperature", "K"},
    {14, 70, "DPT_Value_TemperatureDifference", "K"},
    {14, 71, "DPT_Value_Thermal_Capacity", "J/K"},
    {14, 72, "DPT_Value_Thermal_Conductivity", "W/m K"},
    {14, 73, "DPT_Value_ThermoelectricPower", "V/K"},
    {14, 74, "DPT_Value_Time", "s"},
    {14, 75, "DPT_Value_Torque", "N m"},
    {14, 76, "DPT_Value_Volume", "m³"},
    {14, 77, "DPT_Value_Volume_Flux", "m³/s"},
    {14, 78, "DPT_Value_Weight", "N"},
    {14, 79, "DPT_Value_Work", "J"},
    {14, 80, "DPT_Value_ApparentPower", "VA"},
    {15, 0, "entrance access", ""},
    {15, 0, "DPT_Access_Data", ""},
    {16, 0, "character string", ""},
    {16, 0, "DPT_String_ASCII", ""},
    {16, 1, "DPT_String_8859_1", ""},
    {17, 0, "scene number", ""},
    {17, 1, "DPT_SceneNumber", ""},
    {18, 0, "scene control", ""},
    {18, 1, "DPT_SceneControl", ""},
    {19, 0, "date time", ""},
    {19, 1, "DPT_DateTime", ""},
    {20, 0, "1-byte", ""},
    {20, 1, "DPT_SCLOMode", ""},
    {20, 2, "DPT_BuildingMode", ""},
    {20, 3, "DPT_OccMode", ""},
    {20, 4, "DPT_Priority", ""},
    {20, 5, "DPT_LightApplicationMode", ""},
    {20, 6, "DPT_ApplicationArea", ""},
    {20, 7, "DPT_AlarmClassType", ""},
    {20, 8, "DPT_PSUMode", ""},
    {20, 11, "DPT_ErrorClass_System", ""},
    {20, 12, "DPT_ErrorClass_HVAC", ""},
    {20, 13, "DPT_Time_Delay", ""},
    {20, 14, "DPT_Beaufort_Wind_Force_Scale", ""},
    {20, 17, "DPT_SensorSelect", ""},
    {20, 102, "DPT_HVACMode", ""},
    {20, 103, "DPT_DHWMode", ""},
    {20, 104, "DPT_LoadPriority", ""},
    {20, 105, "DPT_HVACContrMode", ""},
    {20, 106, "DPT_HVACEmergMode", ""},
    {20, 107, "DPT_ChangeoverMode", ""},
    {20, 108, "DPT_ValveMode", ""},
    {20, 109, "DPT_DamperMode", ""},
    {20, 110, "DPT_HeaterMode", ""},
    {20, 111, "DPT_FanMode", ""},
    {20, 112, "DPT_MasterSlaveMode", ""},
    {20, 113, "DPT_StatusRoomSetp", ""},
    {21, 0, "8-bit set", ""},
    {21, 1, "DPT_StatusGen", ""},
    {21, 2, "DPT_Device_Control", ""},
    {21, 100, "DPT_ForceSign", ""},
    {21, 101, "DPT_ForceSignCool", ""},
    {21, 102, "DPT_StatusRHC", ""},
    {21, 103, "DPT_StatusSDHWC", ""},
    {21, 104, "DPT_FuelTypeSet", ""},
    {21, 105, "DPT_StatusRCC", ""},
    {21, 106, "DPT_StatusAHU", ""},
    {22, 0, "16-bit set", ""},
    {22, 101, "DPT_StatusDHWC", ""},
    {22, 102, "DPT_StatusRHCC", ""},
    {23, 0, "2-bit set", ""},
    {23, 1, "DPT_OnOffAction", ""},
    {23, 2, "DPT_Alarm_Reaction", ""},
    {23, 3, "DPT_UpDown_Action", ""},
    {23, 102, "DPT_HVAC_PB_Action", ""},
    {24, 0, "variable string", ""},
    {24, 1, "DPT_VarString_8859_1", ""},
    {25, 0, "2-nibble set", ""},
    {25, 1000, "DPT_DoubleNibble", ""},
    {26, 0, "8-bit set", ""},
    {26, 1, "DPT_SceneInfo", ""},
    {27, 0, "32-bit set", ""},
    {27, 1, "DPT_CombinedInfoOnOff", ""},
    {28, 0, "unicode", ""},
    {28, 1, "DPT_UTF-8", ""},
    {29, 0, "8-octet signed value", ""},
    {29, 10, "DPT_ActiveEnergy_V64", "Wh"},
    {29, 11, "DPT_ApparantEnergy_V64", "VAh"},
    {29, 12, "DPT_ReactiveEnergy_V64", "VARh"},
    {30, 0, "24 times channel activation", ""},
    {30, 1010, "DPT_Channel_Activation_24", ""},
    {31, 0, "16-bit set", ""},
    {200, 0, "boolean with status/command", ""},
    {200, 100, "DPT_Heat_Cool_Z", ""},
    {200, 101, "DPT_BinaryValue_Z", ""},
    {201, 0, "enumeration with status/command", ""},
    {201, 100, "DPT_HVACMode_Z", ""},
    {201, 102, "DPT_DHWMode_Z", ""},
    {201, 104, "DPT_HVACContrMode_Z", ""},
    {201, 107, "DPT_BuildingMode_Z", ""},
    {201, 108, "DPT_OccMode_Z", ""},
    {201, 109, "DPT_HVACEmergMode_Z", ""},
    {202, 0, "8-bit unsigned value with status/command", ""},
    {202, 1, "DPT_RelValue_Z", "%"},
    {202, 2, "DPT_UCountValue8_Z", ""},
    {217, 0, "datapoint type version", ""},
    {217, 1, "DPT_Version", ""},
    {219, 0, "alarm info", ""},
    {219, 1, "DPT_AlarmInfo", ""},
    {222, 0, "3x 2-octet float value", ""},
    {222, 100, "DPT_TempRoomSetpSetF16[3]", "°C"},
    {229, 0, "4-1-1 octet combined information", ""},
    {229, 1, "DPT_MeteringValue", ""},
    {230, 0, "M-Bus address", ""},
    {230, 1000, "DPT_MBus_Address", ""},
    {232, 0, "3-octet colour RGB", ""},
    {232, 600, "DPT_Colour_RGB", ""},
    {234, 0, "language code ISO 639-1", ""},
    {234, 1, "DPT_LanguageCodeAlpha2_ASCII", ""},
    {236, 0, "1-octet", ""},
    {237, 0, "configuration/diagnostics", ""},
    {237, 600, "DPT_DALI_Control_Gear_Diagnostic", ""},
    {238, 0, "configuration/diagnostics", ""},
    {238, 600, "DPT_DALI_Diagnostics", ""},
};

bool SameName(const char* name, const std::string& text) {
  return std::strlen(name) == text.size() &&
         std::equal(text.begin(), text.end(), name, [](char a, char b) {
           return std::tolower(static_cast<unsigned char>(a)) ==
                  std::tolower(static_cast<unsigned char>(b));
         });
}

// "DPST-9-1" (with sub) or "DPT-9"; ETS writes these.
boost::optional<Zel::KNXDPT> ParseEtsId(const std::string& text) {
  std::string rest;
  bool withSub = false;
  if (text.compare(0, 5, "DPST-") == 0) {
    rest = text.substr(5);
    withSub = true;
  } else if (text.compare(0, 4, "DPT-") == 0) {
    rest = text.substr(4);
  } else {
    return boost::none;
  }
  const auto dash = rest.find('-');
  if (withSub != (dash != std::string::npos) || rest.find('.') != std::string::npos) {
    return boost::none;
  }
  if (withSub) {
    rest[dash] = '.';
  }
  return ParseDpt(rest);
}

}  // namespace

const std::vector<DptNameEntry>& DptNameTable() {
  return kTable;
}

const DptNameEntry* FindDptName(const Zel::KNXDPT& dpt) {
  // Sub 0 is both the main type and, for 14, 15 and 16, a subtype of its
  // own: the subtype's row comes later and wins. An unknown sub number gets
  // the main type's row.
  // The table is in the order of main numbers (the test of the table checks).
  auto row = std::lower_bound(
      kTable.begin(), kTable.end(), dpt.mainNumber,
      [](const DptNameEntry& entry, unsigned short main) { return entry.mainNumber < main; });
  const DptNameEntry* exact = nullptr;
  const DptNameEntry* mainType = nullptr;
  for (; row != kTable.end() && row->mainNumber == dpt.mainNumber; ++row) {
    const DptNameEntry& entry = *row;
    if (entry.subNumber == dpt.subNumber)
      exact = &entry;
    if (entry.subNumber == 0 && mainType == nullptr)
      mainType = &entry;
  }
  return exact != nullptr ? exact : mainType;
}

const char* ValueUnit(const Zel::KNXDPT& dpt) {
  const DptNameEntry* entry = FindDptName(dpt);
  if (entry == nullptr || entry->encodedAs != nullptr || *entry->unit == '\0') {
    return nullptr;
  }
  return entry->unit;
}

boost::optional<Zel::KNXDPT> ParseDptSpelling(const std::string& text) {
  if (auto dpt = ParseDpt(text))
    return dpt;
  if (auto dpt = ParseEtsId(text))
    return dpt;
  if (text.compare(0, 4, "DPT_") != 0 && text.compare(0, 4, "dpt_") != 0)
    return boost::none;
  for (const DptNameEntry& entry : kTable) {
    if (SameName(entry.name, text)) {
      Zel::KNXDPT dpt;
      dpt.mainNumber = entry.mainNumber;
      dpt.subNumber = entry.subNumber;
      return dpt;
    }
  }
  return boost::none;
}

}  // namespace Zelknx
