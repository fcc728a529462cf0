// Taking the case-file keys of the settings file.
#include "VarVal/CaseFormat.h"

#include <cstdlib>

#include "Basic/EnvCore.h"

namespace quorva {

void CaseFormat::load(EnvCore& env) {
  if (loaded) return;
  loaded = true;
  std::string on = env.settings.value(CASE_HEADER_SETTING);
  if (!on.empty()) header = on == "on" || on == "true" || on == "yes" || on == "1";
  std::string form = env.settings.value(CASE_VALUE_FORM_SETTING);
  if (!form.empty()) {
    int f = std::atoi(form.c_str());
    if (f >= FORM_NAMES && f <= FORM_NUMBERS) valueForm = f;
  }
}

}  // namespace quorva
