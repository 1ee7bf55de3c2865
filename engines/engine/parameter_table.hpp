#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace KQ::engines {

/// A parameter and its range.
struct ParameterRow {
  const char* name;
  float normal;  ///< the initial value
  float lowest;
  float highest;
  bool zeroIsNormal;  ///< whether 0 is allowed too and means `normal`

  /// Whether a value is in range. A NaN never is.
  bool accepts(float value) const;
};

namespace parameters {
constexpr ParameterRow speed{"speed", 100, 50, 400, false};         ///< percent of the voice's own
constexpr ParameterRow pitchShift{"pitchShift", 1, 0.5F, 2, true};  ///< factor to the voice's own
constexpr ParameterRow voiceLevel{"voiceLevel", 1, 0, 2, false};    ///< factor to the voice's own

// Only the preferences of voices and effects have the following.
constexpr ParameterRow doubleVoice{"doubleVoice", 0, 0.5F, 4, true};  ///< factor; 0 for none
constexpr ParameterRow doubleVoiceLevel{"doubleVoiceLevel", 0, 0, 4, false};  ///< factor
constexpr ParameterRow doubleVoiceTimeShift{"doubleVoiceTimeShift", 0, 0, 0.5F,
                                            false};  ///< seconds
}  // namespace parameters

/// The numeric parameters of one engine. May be used from several threads at once.
class ParameterTable {
 public:
  /// \param engineName  the module of its errors
  ParameterTable(std::string engineName, std::vector<ParameterRow> rows);

  /// \throws KQError (method "setParameter") for an unknown name or a value out of range; nothing
  ///         has changed then
  void set(const std::string& name, float value);

  /// \throws KQError (method "getParameter") for an unknown name
  float get(const std::string& name) const;

  void reset(const ParameterRow& row);

  /// Returns the names, in the order of the rows.
  std::vector<std::string> names() const;

 private:
  const ParameterRow& row(const std::string& name, const char* method) const;

  const std::string engineName;
  const std::vector<ParameterRow> rows;
  mutable std::mutex mutex;
  std::map<std::string, float> values;  ///< guarded by mutex; the keys never change
};

}  // namespace KQ::engines
