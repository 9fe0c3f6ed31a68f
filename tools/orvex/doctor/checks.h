#pragma once

#include "orvex/doctor/finding.h"

namespace orvex::doctor {

void check_library(Findings& findings);
void check_settings(Findings& findings);
void check_environment(Findings& findings);
void check_log(Findings& findings);
void check_softcam_configuration(Findings& findings);
void check_driver(Findings& findings, bool open_cameras);
void check_plug_ins(Findings& findings);
void check_space(Findings& findings);

}  // namespace orvex::doctor
