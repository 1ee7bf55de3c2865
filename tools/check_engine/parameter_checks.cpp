#include <algorithm>
#include <cmath>
#include <set>

#include "check_engine/checks.hpp"
#include "check_engine/trial_engine.hpp"

namespace tool {

namespace {

bool sameValue(float left, float right) {
  return std::abs(left - right) <= 1e-3F * std::max(1.0F, std::abs(left));
}

/// Sets a value. \return whether it was accepted; a refusal must be a KQError
bool set(const Examination& exam, KQ::TextToSpeechEngine& engine, const std::string& name,
         float value) {
  exam.step("setParameter(\"" + name + "\", " + std::to_string(value) + ")");
  try {
    engine.setParameter(name, value);
    return true;
  } catch (const KQError&) {
    return false;
  } catch (...) {
    exam.find("setParameter(\"" + name + "\", " + std::to_string(value) + ") was refused by " +
              describeException().withType() + "; it must be a KQError");
    return false;
  }
}

float get(const Examination& exam, const KQ::TextToSpeechEngine& engine, const std::string& name) {
  return exam.require("getParameter(\"" + name + "\")", [&] { return engine.getParameter(name); });
}

/// Tries several values, since each engine has its own ranges. A value that the engine accepts must
/// be read back.
void checkReadBack(const Examination& exam, KQ::TextToSpeechEngine& engine,
                   const std::string& name) {
  const float original = get(exam, engine, name);
  exam.expect(std::isfinite(original), "the parameter " + name + " is no number");
  exam.expect(set(exam, engine, name, original),
              "the parameter " + name + " refuses the value that it has");
  bool accepted = false;
  float wanted = original;
  float found = original;
  for (const float other : {original * 0.9F, original * 1.1F, original + 1, original - 1}) {
    if (sameValue(other, original)) {
      continue;
    }
    if (!set(exam, engine, name, other)) {
      exam.expect(sameValue(get(exam, engine, name), found),
                  "a refused value changed the parameter " + name);
      continue;
    }
    accepted = true;
    wanted = other;
    found = get(exam, engine, name);
    if (sameValue(found, wanted)) {
      break;
    }
  }
  if (!accepted) {
    exam.note("the parameter " + name + " takes no other value than it has");
  } else if (!sameValue(found, wanted)) {
    exam.find("the parameter " + name + " was set to " + std::to_string(wanted) + " and reads " +
              std::to_string(found));
  }
  set(exam, engine, name, original);
}

}  // namespace

void checkParameters(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  const std::vector<std::string> names =
      exam.require("getAvailableParameters()", [&] { return engine->getAvailableParameters(); });
  std::set<std::string> seen;
  for (const std::string& name : names) {
    exam.expect(!name.empty(), "a parameter with an empty name is offered");
    exam.expect(seen.insert(name).second, "the parameter " + name + " is offered twice");
    checkReadBack(exam, *engine, name);
  }
  exam.require("resetSpeed()", [&] { engine->resetSpeed(); });
  if (names.empty()) {
    exam.note("the engine has no parameters");
  }
  if (set(exam, *engine, "No Such Parameter", 1)) {
    exam.note("an unknown parameter is accepted, so that a host sees no slip of the pen");
  }
}

}  // namespace tool
