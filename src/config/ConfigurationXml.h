#pragma once
#include "config/LoadReport.h"
#include "config/MinerConfiguration.h"
#include "support/XmlNode.h"

// Between a configuration and the element tree of ConfigMiner.xml. Portable; any thread.

inline constexpr char kConfigurationRoot[] = "MinerConfig";

// Adds what the tree holds to the builder's configuration; GPU records are looked up, never written. A GPU that this machine
// does not have is kept as absent; one that is named twice counts in the first place. What is not understood, is out of
// range or had to be left out stands in the report.
void ReadConfiguration(const XML_NODE& root, CConfigurationBuilder& builder, CLoadReport& report);

// Fills an empty root, with the NGM and NGTO that the GPU records hold at present, and what is absent in its place.
void WriteConfiguration(const MinerConfiguration& configuration, XML_NODE& root);
