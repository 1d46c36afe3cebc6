// The style and the script of the report's page: page/report.css and page/report.js.
#pragma once

namespace sonx {

extern const char* const kReportStyle;
extern const char* const kReportScript;

}  // namespace sonx
