#include "check_engine/report.hpp"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "text/utf8.hpp"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;
using Status = CheckOutcome::Status;

void appendLines(std::string& text, const char* label, const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    text += std::string("         ") + label + line + '\n';
  }
}

void appendOutcome(std::string& text, const CheckOutcome& outcome) {
  std::string status = outcome.status == Status::failed ? "FAILED" : nameOf(outcome.status);
  status.resize(9, ' ');
  text += status + outcome.check->name + ": " + outcome.check->title + '\n';
  appendLines(text, "- ", outcome.findings);
  if (outcome.status == Status::failed) {
    appendLines(text, "why: ", {outcome.check->why});
    appendLines(text, "do:  ", {outcome.check->remedy});
  }
  if (outcome.status == Status::notRun) {
    appendLines(text, "", {outcome.reason});
  }
  appendLines(text, "note: ", outcome.notes);
}

std::string escaped(std::string text) {
  makeSpeakable(text);
  std::string result;
  for (const char character : text) {
    switch (character) {
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '&':
        result += "&amp;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += character;
    }
  }
  return result;
}

std::string seconds(std::chrono::milliseconds duration) {
  char text[32];
  std::snprintf(text, sizeof text, "%lld.%03lld", static_cast<long long>(duration.count() / 1000),
                static_cast<long long>(duration.count() % 1000));
  return text;
}

std::string testCase(const CheckOutcome& outcome) {
  const Check& check = *outcome.check;
  std::string xml = std::string("    <testcase classname=\"check-engine\" name=\"") + check.name +
                    "\" time=\"" + seconds(outcome.duration) + "\">\n";
  if (outcome.status == Status::failed) {
    xml += "      <failure message=\"" + escaped(outcome.findings.front()) + "\">";
    for (const std::string& finding : outcome.findings) {
      xml += escaped(finding) + '\n';
    }
    xml += escaped(check.why) + std::string("\n") + escaped(check.remedy) + "</failure>\n";
  } else if (outcome.status == Status::notRun) {
    xml += "      <skipped message=\"" + escaped(outcome.reason) + "\"/>\n";
  }
  if (!outcome.notes.empty()) {
    xml += "      <system-out>";
    for (const std::string& note : outcome.notes) {
      xml += escaped(note) + '\n';
    }
    xml += "</system-out>\n";
  }
  return xml + "    </testcase>\n";
}

}  // namespace

std::string textReport(const Checkup& checkup) {
  std::string text = checkup.plugin + '\n';
  for (const CheckOutcome& outcome : checkup.outcomes) {
    appendOutcome(text, outcome);
  }
  return text + std::to_string(checkup.count(Status::passed)) + " passed, " +
         std::to_string(checkup.count(Status::failed)) + " failed, " +
         std::to_string(checkup.count(Status::notRun)) + " not run\n";
}

std::string jsonReport(const Checkup& checkup) {
  Json checks = Json::array();
  for (const CheckOutcome& outcome : checkup.outcomes) {
    Json check = {{"name", outcome.check->name},      {"title", outcome.check->title},
                  {"status", nameOf(outcome.status)}, {"findings", outcome.findings},
                  {"notes", outcome.notes},           {"milliseconds", outcome.duration.count()}};
    if (outcome.status == Status::failed) {
      check["why"] = outcome.check->why;
      check["remedy"] = outcome.check->remedy;
    }
    if (outcome.status == Status::notRun) {
      check["reason"] = outcome.reason;
    }
    checks.push_back(std::move(check));
  }
  const Json report = {{"plugin", checkup.plugin},
                       {"passed", checkup.count(Status::passed)},
                       {"failed", checkup.count(Status::failed)},
                       {"notRun", checkup.count(Status::notRun)},
                       {"checks", std::move(checks)}};
  return report.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string junitReport(const Checkup& checkup) {
  std::chrono::milliseconds total(0);
  for (const CheckOutcome& outcome : checkup.outcomes) {
    total += outcome.duration;
  }
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n  <testsuite name=\"" +
      escaped(checkup.plugin) + "\" tests=\"" + std::to_string(checkup.outcomes.size()) +
      "\" failures=\"" + std::to_string(checkup.count(Status::failed)) +
      "\" errors=\"0\" skipped=\"" + std::to_string(checkup.count(Status::notRun)) + "\" time=\"" +
      seconds(total) + "\">\n";
  for (const CheckOutcome& outcome : checkup.outcomes) {
    xml += testCase(outcome);
  }
  return xml + "  </testsuite>\n</testsuites>\n";
}

}  // namespace tool
