#include "ui/SvgFile.h"

#include <cctype>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <regex>

namespace zolvex::test {

namespace {

const std::regex spaceAtStart(R"(^\s+)");
const std::regex textAtStart(R"(^[^<&]+)");
const std::regex endTagAtStart(R"(^</([a-z]+)>)");
const std::regex startTagAtStart(R"(^<([a-z]+)((?:\s+[A-Za-z][-A-Za-z]*="[^"<&]*")*)\s*(/?)>)");
const std::regex oneAttribute(R"(([-A-Za-z]+)="([^"]*)\")");
const std::regex commandAtStart(R"(^([MLHVCSAZ])((?:\s*-?[0-9]+(?:\.[0-9]+)?)*)(?![0-9.]))");
const std::regex oneNumber(R"(-?[0-9]+(?:\.[0-9]+)?)");

/// Reads from the front of the text what still has to be read.
class Reader {
 public:
  explicit Reader(std::string text) : rest_(std::move(text)) {}

  SvgFile read() {
    while (file_.complaint.empty() && !rest_.empty()) readNext();
    if (file_.complaint.empty() && !open_.empty()) file_.complaint = open_.back() + " is not closed";
    if (file_.complaint.empty() && file_.elements.empty()) file_.complaint = "no element";
    return file_;
  }

 private:
  void readNext() {
    std::smatch found;
    if (take(spaceAtStart, found)) return;
    if (!open_.empty() && open_.back() == "style" && take(textAtStart, found)) return;
    if (take(endTagAtStart, found)) return close(found[1]);
    if (!take(startTagAtStart, found)) return complain("not understood: " + rest_.substr(0, 40));
    if (open_.empty() && !file_.elements.empty()) return complain("a second root");
    file_.elements.push_back({found[1], attributesIn(found[2])});
    if (found[3].length() == 0) open_.push_back(found[1]);
  }

  bool take(const std::regex& pattern, std::smatch& found) {
    if (!std::regex_search(rest_, found, pattern)) return false;
    taken_ = found[0];
    // The match points into the text that is about to change.
    std::string next = found.suffix();
    std::regex_search(taken_, found, pattern);
    rest_ = std::move(next);
    return true;
  }

  void close(const std::string& name) {
    if (open_.empty() || open_.back() != name) return complain("unexpected end of " + name);
    open_.pop_back();
  }

  std::map<std::string, std::string> attributesIn(const std::string& text) {
    std::map<std::string, std::string> attributes;
    for (std::sregex_iterator at(text.begin(), text.end(), oneAttribute), end; at != end; ++at)
      if (!attributes.emplace((*at)[1], (*at)[2]).second) complain("attribute " + at->str(1) + " twice");
    return attributes;
  }

  void complain(const std::string& text) { file_.complaint = text; }

  std::string rest_;
  std::string taken_;
  std::vector<std::string> open_;
  SvgFile file_;
};

std::ptrdiff_t argumentsOf(char command) {
  const std::map<char, std::ptrdiff_t> counts{{'M', 2}, {'L', 2}, {'H', 1}, {'V', 1},
                                              {'C', 6}, {'S', 4}, {'A', 7}, {'Z', 0}};
  return counts.at(command);
}

bool isComplete(char command, const std::string& arguments) {
  const auto count = std::distance(std::sregex_iterator(arguments.begin(), arguments.end(), oneNumber), {});
  const auto wanted = argumentsOf(command);
  return wanted == 0 ? count == 0 : count > 0 && count % wanted == 0;
}

}  // namespace

std::string SvgElement::attribute(const std::string& key) const {
  const auto found = attributes.find(key);
  return found == attributes.end() ? "" : found->second;
}

SvgFile readSvg(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return parseSvg({std::istreambuf_iterator<char>(stream), {}});
}

SvgFile parseSvg(const std::string& text) {
  return Reader(text).read();
}

std::string complaintAboutPath(const std::string& data) {
  if (data.empty() || data.front() != 'M') return "does not begin with M";
  auto rest = data;
  for (std::smatch found; !rest.empty(); rest = std::string(found.suffix())) {
    if (!std::regex_search(rest, found, commandAtStart)) return "not understood: " + rest.substr(0, 20);
    if (!isComplete(found.str(1).front(), found[2])) return "wrong number of arguments: " + found.str();
  }
  return "";
}

}  // namespace zolvex::test
