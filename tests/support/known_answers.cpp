// Reading known answers.
#include "support/known_answers.h"

#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace known {

int KnownAnswer::Number(size_t field) const { return std::stoi(fields.at(field)); }

Bytes KnownAnswer::Template(size_t field) const {
  const std::string& text = fields.at(field);
  Bytes bytes;
  for (size_t i = 0; i < text.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

std::vector<KnownAnswer> ReadKnownAnswers(const std::string& kind) {
  std::ifstream file(KNOWN_ANSWERS_FILE);
  std::vector<KnownAnswer> answers;
  std::string line;
  for (int number = 1; std::getline(file, line); number++) {
    std::istringstream words(line);
    std::string first;
    words >> first;
    if (first != kind) continue;
    using Word = std::istream_iterator<std::string>;
    answers.push_back({number, std::vector<std::string>(Word(words), Word())});
  }
  if (answers.empty()) throw std::runtime_error("no " + kind + " case in " KNOWN_ANSWERS_FILE);
  return answers;
}

std::string KnownAnswerName(const testing::TestParamInfo<KnownAnswer>& info) {
  return "line" + std::to_string(info.param.line);
}

void PrintTo(const KnownAnswer& answer, std::ostream* out) {
  *out << "known_answers.txt:" << answer.line;
}

}  // namespace known
