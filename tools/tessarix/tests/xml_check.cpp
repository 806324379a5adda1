#include "xml_check.hpp"

#include <expat.h>

namespace tessarix::tool::test {

namespace {

struct XmlState {
  XmlSummary* summary;
  int text_depth = 0;
};

void StartElement(void* data, const XML_Char* name, const XML_Char**) {
  auto* state = static_cast<XmlState*>(data);
  if (state->summary->root.empty()) state->summary->root = name;
  state->summary->elements.emplace_back(name);
  if (std::string(name) == "text") {
    state->summary->texts.emplace_back();
    ++state->text_depth;
  }
}

void EndElement(void* data, const XML_Char* name) {
  auto* state = static_cast<XmlState*>(data);
  if (std::string(name) == "text") --state->text_depth;
}

void CharacterData(void* data, const XML_Char* s, int len) {
  auto* state = static_cast<XmlState*>(data);
  if (state->text_depth > 0) state->summary->texts.back().append(s, static_cast<std::size_t>(len));
}

}  // namespace

XmlSummary ParseXml(const std::string& document) {
  XmlSummary summary;
  XmlState state{&summary};
  XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetUserData(parser, &state);
  XML_SetElementHandler(parser, StartElement, EndElement);
  XML_SetCharacterDataHandler(parser, CharacterData);
  const auto status = XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1);
  summary.well_formed = status == XML_STATUS_OK;
  if (!summary.well_formed) {
    summary.error = std::string(XML_ErrorString(XML_GetErrorCode(parser))) + " at line " +
                    std::to_string(XML_GetCurrentLineNumber(parser));
  }
  XML_ParserFree(parser);
  return summary;
}

}  // namespace tessarix::tool::test
