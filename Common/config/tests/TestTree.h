#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/Logger.h"
#include "testing/LogCapture.h"

namespace AR::Common {

using rectiline::testing::LogCapture;

inline ConfigNode tree(const std::string& xml) {
  ConfigNode node;
  EXPECT_TRUE(node.setFromXMLString(xml.c_str())) << xml;
  return node;
}

inline std::string written(const ConfigNode& node, int indent = 0) {
  std::ostringstream stream;
  EXPECT_TRUE(node.writeToXML(stream, indent));
  return stream.str();
}

}  // namespace AR::Common
