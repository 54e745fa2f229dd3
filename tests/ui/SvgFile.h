#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zolvex::test {

struct SvgElement {
  std::string name;
  std::map<std::string, std::string> attributes;

  std::string attribute(const std::string& key) const;
};

/// The elements of a drawing in their order, the root first. Reads the part of XML that our drawings use: elements,
/// attributes in double quotes, and text inside `style`; anything else is a complaint.
struct SvgFile {
  std::vector<SvgElement> elements;
  std::string complaint;  ///< Empty when the file is well-formed.
};

SvgFile readSvg(const std::filesystem::path& file);
SvgFile parseSvg(const std::string& text);

/// What is wrong with the outline of a path (absolute commands only); empty when nothing is.
std::string complaintAboutPath(const std::string& data);

}  // namespace zolvex::test
