#pragma once

/// The report's style sheet; free of "<" and "&", so that it stands in the document as it is.
extern const char* const report_style_sheet;
/// The report's script, which only sorts tables marked "data-tool", and filters these and parts marked "data-filter";
/// free of "<" and "&" likewise.
extern const char* const report_script;
