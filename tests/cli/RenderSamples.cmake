# Runs vimo-render on the sample documents as a desktop thumbnailer would:
# no display, no home directory, no settings. Called by ctest with
# -DRENDER=<vimo-render> -DDATA=<tests/data/documents> -DOUT=<scratch folder>.

file(REMOVE_RECURSE "${OUT}")
file(MAKE_DIRECTORY "${OUT}")
set(bare_env ${CMAKE_COMMAND} -E env --unset=HOME --unset=DISPLAY --unset=WAYLAND_DISPLAY
    --unset=XDG_CONFIG_HOME --unset=XDG_RUNTIME_DIR --unset=QT_QPA_PLATFORM)

# Width and height of a PNG from its header.
function(png_size path out_w out_h)
  file(READ "${path}" header LIMIT 8 OFFSET 16 HEX)
  string(SUBSTRING "${header}" 0 8 w)
  string(SUBSTRING "${header}" 8 8 h)
  math(EXPR w "0x${w}")
  math(EXPR h "0x${h}")
  set(${out_w} ${w} PARENT_SCOPE)
  set(${out_h} ${h} PARENT_SCOPE)
endfunction()

function(render expect_w expect_h)
  list(GET ARGN -1 output)
  execute_process(COMMAND ${bare_env} "${RENDER}" ${ARGN}
                  RESULT_VARIABLE rc ERROR_VARIABLE err OUTPUT_QUIET)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "vimo-render ${ARGN} failed (${rc}): ${err}")
  endif()
  png_size("${output}" w h)
  if(NOT w EQUAL expect_w OR NOT h EQUAL expect_h)
    message(FATAL_ERROR "vimo-render ${ARGN} gave ${w}x${h}, expected ${expect_w}x${expect_h}")
  endif()
endfunction()

# The saved view (160 x 120) of every form of drawing file.
foreach(name drawing.vimo drawing-nopng.vimo old-uncompressed.vimo bare-array.vimo
             template.vimotemplate)
  render(160 120 "${DATA}/${name}" "${OUT}/${name}.png")
endforeach()
# Given sizes and thumbnails, with and without the saved picture; pictures
# open in a view of the default size (640 x 480).
render(320 60 --size 320x60 "${DATA}/drawing.vimo" "${OUT}/wide.png")
render(64 48 --thumbnail 64 "${DATA}/drawing.vimo" "${OUT}/thumb.png")
render(64 48 --thumbnail 64 "${DATA}/drawing-nopng.vimo" "${OUT}/thumb-nopng.png")
render(640 480 "${DATA}/picture.jpg" "${OUT}/picture.png")
render(128 96 --thumbnail 128 "${DATA}/picture.gif" "${OUT}/picture-thumb.png")

# A bad file: non-zero exit with one line naming the problem.
file(WRITE "${OUT}/bad.vimo" "this is not a drawing")
execute_process(COMMAND ${bare_env} "${RENDER}" "${OUT}/bad.vimo" "${OUT}/bad.png"
                RESULT_VARIABLE rc ERROR_VARIABLE err OUTPUT_QUIET)
string(STRIP "${err}" err)
if(rc EQUAL 0 OR NOT err MATCHES "not a Vimo file$" OR err MATCHES "\n" OR EXISTS "${OUT}/bad.png")
  message(FATAL_ERROR "bad file: exit ${rc}, message '${err}'")
endif()
execute_process(COMMAND "${RENDER}" --help RESULT_VARIABLE rc OUTPUT_VARIABLE help)
if(NOT rc EQUAL 0 OR NOT help MATCHES "Usage: vimo-render")
  message(FATAL_ERROR "--help: exit ${rc}")
endif()
