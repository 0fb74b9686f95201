#pragma once
#include <string_view>
#include "config/LoadReport.h"
#include "config/RuntimeSettings.h"
#include "support/XmlNode.h"

// Between the settings and the element tree of RuntimeSettingsMiner.xml. Portable; any thread.

inline constexpr char kRuntimeSettingsRoot[] = "RuntimeSettings";

// What is absent or, for a rectangle, malformed leaves its field as it is. What is not understood or out of range stands in
// the report.
void ReadRuntimeSettings(const XML_NODE& root, RuntimeSettings& settings, CLoadReport& report);
// Fills an empty root.
void WriteRuntimeSettings(const RuntimeSettings& settings, XML_NODE& root);

// "left,top,right,bottom". 0; 24, with the rectangle unchanged: no such attribute, or not four numbers.
int ReadRectangle(const XML_NODE& root, std::string_view name, SettingsRect& rectangle);
void WriteRectangle(XML_NODE& root, std::string_view name, const SettingsRect& rectangle);
