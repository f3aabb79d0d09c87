#pragma once

#include <tinyxml.h>

// The XML document model under this library's own name. The distribution's library is used as it
// is; nothing of it is compiled here.

namespace AR::Common {

using ::TiXmlAttribute;
using ::TiXmlComment;
using ::TiXmlDeclaration;
using ::TiXmlDocument;
using ::TiXmlElement;
using ::TiXmlNode;
using ::TiXmlText;

}  // namespace AR::Common
