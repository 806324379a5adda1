// Checking XML documents with a real parser (expat).
#pragma once

#include <string>
#include <vector>

namespace tessarix::tool::test {

struct XmlSummary {
  bool well_formed = false;
  std::string error;                  // parser message when not well formed
  std::string root;                   // name of the root element
  std::vector<std::string> elements;  // names of all elements, in document order
  std::vector<std::string> texts;     // character data of each <text> element
};

XmlSummary ParseXml(const std::string& document);

}  // namespace tessarix::tool::test
