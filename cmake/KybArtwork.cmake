# kyb_render_artwork(TARGET name OUTPUT_DIR folder)
#
# Adds the target `name`, part of ALL, which draws the SVG sources of resources/art into `folder`: each picture as
# NAME.png and NAME@2x.png, and the icons as .icns, which the target `kyb_make_icns` packs. A picture is drawn again when
# its own source has changed.
# `folder` is an absolute path, may hold blanks, and is made when it is missing.

set(KYB_ART_DIR "${CMAKE_CURRENT_LIST_DIR}/../resources/art")
cmake_path(NORMAL_PATH KYB_ART_DIR)

# The pictures and their size in points.
set(KYB_ART_PICTURES
  "Alert            64  64"
  "Background      720 480"
  "Background_dark 720 480"
  "DestinationIcon 128 128"
  "Drag_arrow       96  48"
  "Package         128 128"
  "Success          64  64"
  "question_icon    20  20"
  "save             16  16"
  "search           16  16")

# The icons and the source of each.
# NB: Alert.icns holds the package. It is what the drag source shows until the package has been looked for; a warning
# sign would flash there at every start.
set(KYB_ART_ICONS
  "Alert   Package"
  "AppIcon AppIcon")
set(KYB_ART_ICON_SIDES 32 64 128 256 512 1024)

# Draws `source`.svg as `output`, `width` by `height` pixels.
function(_kyb_draw source output width height)
  cmake_path(GET output PARENT_PATH folder)
  cmake_path(GET output FILENAME shown)
  add_custom_command(OUTPUT "${output}"
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${folder}"
    COMMAND "${KYB_RSVG_CONVERT}" --width ${width} --height ${height} --output "${output}"
            "${KYB_ART_DIR}/${source}.svg"
    DEPENDS "${KYB_ART_DIR}/${source}.svg"
    COMMENT "Drawing ${shown}"
    VERBATIM)
endfunction()

# Draws `source`.svg in every size of an icon, below `work`, and packs them into `output`.
function(_kyb_draw_icon source output work)
  set(pictures)
  foreach(side IN LISTS KYB_ART_ICON_SIDES)
    _kyb_draw(${source} "${work}/${source}_${side}.png" ${side} ${side})
    list(APPEND pictures "${work}/${source}_${side}.png")
  endforeach()
  cmake_path(GET output PARENT_PATH folder)
  cmake_path(GET output FILENAME shown)
  add_custom_command(OUTPUT "${output}"
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${folder}"
    COMMAND kyb_make_icns "${output}" ${pictures}
    DEPENDS kyb_make_icns ${pictures}
    COMMENT "Packing ${shown}"
    VERBATIM)
endfunction()

function(kyb_render_artwork)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "TARGET;OUTPUT_DIR" "")
  find_program(KYB_RSVG_CONVERT rsvg-convert REQUIRED DOC "Draws SVG as PNG (librsvg)")

  set(outputs)
  foreach(row IN LISTS KYB_ART_PICTURES)
    string(REGEX MATCHALL "[^ ]+" row "${row}")
    list(GET row 0 name)
    list(GET row 1 width)
    list(GET row 2 height)
    math(EXPR width2x "2 * ${width}")
    math(EXPR height2x "2 * ${height}")
    _kyb_draw(${name} "${ARG_OUTPUT_DIR}/${name}.png" ${width} ${height})
    _kyb_draw(${name} "${ARG_OUTPUT_DIR}/${name}@2x.png" ${width2x} ${height2x})
    list(APPEND outputs "${ARG_OUTPUT_DIR}/${name}.png" "${ARG_OUTPUT_DIR}/${name}@2x.png")
  endforeach()
  foreach(row IN LISTS KYB_ART_ICONS)
    string(REGEX MATCHALL "[^ ]+" row "${row}")
    list(GET row 0 name)
    list(GET row 1 source)
    _kyb_draw_icon(${source} "${ARG_OUTPUT_DIR}/${name}.icns" "${CMAKE_CURRENT_BINARY_DIR}/${ARG_TARGET}.icons")
    list(APPEND outputs "${ARG_OUTPUT_DIR}/${name}.icns")
  endforeach()
  add_custom_target(${ARG_TARGET} ALL DEPENDS ${outputs})
endfunction()
