# The editors' descriptions of the frei0r module, Kdenlive's and Shotcut's, written from one table so
# that the two never disagree. Each slider is given in the effect's own units, as `fxhost info` prints
# it: label, valid minimum and maximum, default, decimals; then the unit shown after the value and a
# line of help. Both editors save the module's frei0r value (0 to 1 over the range) and show
# min + value x (max - min). Tests/Install/install_test.py holds both files to `fxhost info`.
#
# One entry a slider, in the module's parameter order (frei0r parameter 0, 1, ...), fields split by
# "|". No field may hold "|" or ";" (CMake's list separator).
set(OSTRIVANE_EDITOR_SLIDERS
  "Hue Value|0|360|0|1|°|Turns every colour around the hue circle by this many degrees, keeping its brightness: 180 gives the opposite colours."
  "Saturation|0|2|1|2||Mixes each colour against its own grey (its luminance): 0 is grey, 1 leaves the colour as it is, 2 doubles its distance from grey.")
set(OSTRIVANE_EDITOR_EFFECT_NAME "Ostrivane Hue And Saturation")
set(OSTRIVANE_EDITOR_DESCRIPTION
  "Turns the hue of every pixel in YIQ space and mixes its saturation against its luminance")
set(OSTRIVANE_EDITOR_SERVICE "frei0r.ostrivane-hue-and-saturation")

# A decimal number ("-12.5") as an integer of millionths; CMake's arithmetic has integers only.
function(_ostrivane_millionths out number)
  if(NOT number MATCHES "^(-?)([0-9]+)(\\.([0-9]*))?$")
    message(FATAL_ERROR "EditorDescriptions.cmake: '${number}' is not a decimal number")
  endif()
  set(sign "${CMAKE_MATCH_1}")
  set(whole "${CMAKE_MATCH_2}")
  string(SUBSTRING "${CMAKE_MATCH_4}000000" 0 6 fraction)
  math(EXPR value "${sign}(${whole} * 1000000 + ${fraction})")
  set(${out} ${value} PARENT_SCOPE)
endfunction()

# A number of millionths as a decimal, trailing zeros dropped: 500000 is "0.5", 360000000 is "360".
function(_ostrivane_decimal out millionths)
  set(sign "")
  if(millionths LESS 0)
    set(sign "-")
    math(EXPR millionths "-(${millionths})")
  endif()
  math(EXPR whole "${millionths} / 1000000")
  math(EXPR fraction "${millionths} % 1000000 + 1000000")  # a leading 1 keeps the zeros after the point
  string(SUBSTRING "${fraction}" 1 6 fraction)
  string(REGEX REPLACE "0+$" "" fraction "${fraction}")
  if(fraction STREQUAL "")
    set(${out} "${sign}${whole}" PARENT_SCOPE)
  else()
    set(${out} "${sign}${whole}.${fraction}" PARENT_SCOPE)
  endif()
endfunction()

function(_ostrivane_xml_text out text)
  string(REPLACE "&" "&amp;" text "${text}")
  string(REPLACE "<" "&lt;" text "${text}")
  string(REPLACE ">" "&gt;" text "${text}")
  string(REPLACE "\"" "&quot;" text "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# A C++ string literal, as the GStreamer plug-in reads the table.
function(_ostrivane_cpp_text out text)
  string(REPLACE "\\" "\\\\" text "${text}")
  string(REPLACE "\"" "\\\"" text "${text}")
  set(${out} "\"${text}\"" PARENT_SCOPE)
endfunction()

# A JavaScript string literal in single quotes, as QML reads it.
function(_ostrivane_js_text out text)
  string(REPLACE "\\" "\\\\" text "${text}")
  string(REPLACE "'" "\\'" text "${text}")
  set(${out} "'${text}'" PARENT_SCOPE)
endfunction()

# Writes into `folder`: frei0r_ostrivane-hue-and-saturation.xml (Kdenlive's effect description),
# shotcut/meta.qml, shotcut/ui.qml (Shotcut's filter description and panel) and EditorNotes.h (each
# slider's unit and help, which the GStreamer plug-in gives its properties).
function(ostrivane_write_editor_descriptions folder)
  set(kdenlive_parameters "")
  set(shotcut_properties "")
  set(shotcut_keyframes "")
  set(shotcut_sliders "")
  set(cpp_notes "")
  set(index 0)
  foreach(entry IN LISTS OSTRIVANE_EDITOR_SLIDERS)
    string(REPLACE "|" ";" fields "${entry}")
    list(LENGTH fields count)
    if(NOT count EQUAL 7)
      message(FATAL_ERROR "EditorDescriptions.cmake: '${entry}' has ${count} fields, not 7")
    endif()
    list(GET fields 0 label)
    list(GET fields 1 low)
    list(GET fields 2 high)
    list(GET fields 3 default)
    list(GET fields 4 decimals)
    list(GET fields 5 unit)
    list(GET fields 6 help)
    _ostrivane_millionths(low_m "${low}")
    _ostrivane_millionths(high_m "${high}")
    _ostrivane_millionths(default_m "${default}")
    math(EXPR span_m "${high_m} - ${low_m}")
    if(span_m LESS_EQUAL 0 OR default_m LESS low_m OR default_m GREATER high_m)
      message(FATAL_ERROR "EditorDescriptions.cmake: '${label}' has an empty range or a default outside it")
    endif()
    # The frei0r default, (default - min) / (max - min), rounded to six decimals.
    math(EXPR unit_default_m "((${default_m} - ${low_m}) * 1000000 + ${span_m} / 2) / ${span_m}")
    _ostrivane_decimal(unit_default ${unit_default_m})
    _ostrivane_decimal(factor ${span_m})
    _ostrivane_xml_text(xml_label "${label}")
    _ostrivane_xml_text(xml_unit "${unit}")
    _ostrivane_xml_text(xml_help "${help}")
    # Attributes Kdenlive does without where they would say nothing.
    set(offset "")
    if(NOT low_m EQUAL 0)
      set(offset " offset=\"${low}\"")
    endif()
    set(suffix "")
    if(NOT unit STREQUAL "")
      set(suffix " suffix=\"${xml_unit}\"")
    endif()
    # Kdenlive shows value x factor + offset, to `decimals`, and keeps the frei0r value.
    string(APPEND kdenlive_parameters
      "    <parameter type=\"animated\" name=\"${index}\" default=\"${unit_default}\" min=\"${low}\" max=\"${high}\""
      " factor=\"${factor}\"${offset} decimals=\"${decimals}\"${suffix}>\n"
      "        <name>${xml_label}</name>\n"
      "        <comment>${xml_help}</comment>\n"
      "    </parameter>\n")
    _ostrivane_js_text(js_label "${label}")
    _ostrivane_js_text(js_help "${help}")
    if(unit STREQUAL "")
      set(js_suffix "''")
    else()
      _ostrivane_js_text(js_suffix " ${unit}")
    endif()
    if(index GREATER 0)
      string(APPEND shotcut_properties ", ")
      string(APPEND shotcut_keyframes ",\n")
      string(APPEND shotcut_sliders ",\n")
    endif()
    string(APPEND shotcut_properties "'${index}'")
    # Shotcut's keyframe view draws the value it saves: the frei0r value.
    string(APPEND shotcut_keyframes
      "            Parameter {\n"
      "                name: qsTr(${js_label})\n"
      "                property: '${index}'\n"
      "                isCurve: true\n"
      "                minimum: 0\n"
      "                maximum: 1\n"
      "            }")
    string(APPEND shotcut_sliders
      "        { property: '${index}', label: qsTr(${js_label}), help: qsTr(${js_help}), minimum: ${low}, "
      "maximum: ${high}, defaultValue: ${default}, decimals: ${decimals}, suffix: ${js_suffix} }")
    _ostrivane_cpp_text(cpp_label "${label}")
    _ostrivane_cpp_text(cpp_unit "${unit}")
    _ostrivane_cpp_text(cpp_help "${help}")
    string(APPEND cpp_notes "    {${cpp_label}, ${cpp_unit}, ${cpp_help}},\n")
    math(EXPR index "${index} + 1")
  endforeach()
  _ostrivane_xml_text(KDENLIVE_NAME "${OSTRIVANE_EDITOR_EFFECT_NAME}")
  _ostrivane_xml_text(KDENLIVE_DESCRIPTION "${OSTRIVANE_EDITOR_DESCRIPTION}")
  set(KDENLIVE_SERVICE "${OSTRIVANE_EDITOR_SERVICE}")
  set(KDENLIVE_PARAMETERS "${kdenlive_parameters}")
  _ostrivane_js_text(SHOTCUT_NAME "${OSTRIVANE_EDITOR_EFFECT_NAME}")
  _ostrivane_js_text(SHOTCUT_SERVICE "${OSTRIVANE_EDITOR_SERVICE}")
  set(SHOTCUT_SIMPLE_PROPERTIES "[${shotcut_properties}]")
  set(SHOTCUT_KEYFRAME_PARAMETERS "${shotcut_keyframes}")
  set(SHOTCUT_SLIDERS "${shotcut_sliders}")
  set(here ${CMAKE_CURRENT_FUNCTION_LIST_DIR})
  configure_file(${here}/frei0r_ostrivane-hue-and-saturation.xml.in
    ${folder}/frei0r_ostrivane-hue-and-saturation.xml @ONLY)
  configure_file(${here}/shotcut/meta.qml.in ${folder}/shotcut/meta.qml @ONLY)
  configure_file(${here}/shotcut/ui.qml.in ${folder}/shotcut/ui.qml @ONLY)
  _ostrivane_cpp_text(CPP_NAME "${OSTRIVANE_EDITOR_EFFECT_NAME}")
  set(CPP_SLIDER_NOTES "${cpp_notes}")
  configure_file(${here}/EditorNotes.h.in ${folder}/EditorNotes.h @ONLY)
endfunction()
