# Small helpers so every library, test and benchmark target is declared the same way.

function(tillsight_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(TILLSIGHT_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# tillsight_add_library(<name> SOURCES ... [DEPENDS ...])
# One static library per folder; its folder's parent (src/) is the include root.
function(tillsight_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
  tillsight_warnings(${name})
endfunction()

# tillsight_add_test(<name> SOURCES ... DEPENDS ... [NEEDS_GUI] [NEEDS_GL] [NEEDS_POSTGRES])
# Every GoogleTest case becomes its own CTest test. NEEDS_GUI runs it on the offscreen platform;
# NEEDS_GL labels it "gl": scripts/test.sh runs those under xvfb-run, because OpenGL does not work
# on the offscreen platform. NEEDS_POSTGRES runs it with the run's PostgreSQL cluster
# (tests/postgres), whose folder it finds in TILLSIGHT_PG_DIR.
function(tillsight_add_test name)
  cmake_parse_arguments(ARG "NEEDS_GUI;NEEDS_GL;NEEDS_POSTGRES" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} GTest::gtest GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  tillsight_warnings(${name})
  set(env "TZ=UTC" "LC_ALL=C.UTF-8")
  if(ARG_NEEDS_GUI)
    list(APPEND env "QT_QPA_PLATFORM=offscreen")
  endif()
  set(fixtures "")
  if(ARG_NEEDS_POSTGRES)
    list(APPEND env "TILLSIGHT_PG_DIR=${TILLSIGHT_PG_DIR}")
    set(fixtures FIXTURES_REQUIRED postgres)
  endif()
  set(label plain)
  if(ARG_NEEDS_GL)
    set(label gl)
  endif()
  # The environment reaches the test through `env`, which the discovery runs too: a list given as
  # the ENVIRONMENT property would lose every entry after the first on its way through discovery.
  set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "env;${env}")
  # Discovery runs at test time so that a GL test binary is never started without a display.
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
    PROPERTIES LABELS ${label} ${fixtures})
endfunction()

# tillsight_add_benchmark(<name> SOURCES ... DEPENDS ...)
function(tillsight_add_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} benchmark::benchmark)
  tillsight_warnings(${name})
endfunction()
