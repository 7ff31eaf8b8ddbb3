# Profile-guided optimisation.
#
# Nearly all of the interpreter's time goes into a few paths through large functions, and where the compiler puts a branch
# decides about a quarter of its speed. So the release build first builds an instrumented interpreter (under profile/ in
# the build tree), lets it run the programs of bench/train.sh, and compiles the real one with what was counted.
#
# The profile is made once for a build tree: a changed source is compiled with the old one, which the compiler takes
# where it still fits. Deleting profile/ in the build tree (or `./dev bench`, which does that) has it made anew.

set(profile_place ${CMAKE_BINARY_DIR}/profile)

if(VANDRA_INSTRUMENT)
  # This is the inner build, whose tree is profile/build in the outer one.
  cmake_path(GET CMAKE_BINARY_DIR PARENT_PATH outer_place)
  target_compile_options(vandra_flags INTERFACE -fprofile-generate=${outer_place}/data
                                                -fprofile-prefix-path=${CMAKE_BINARY_DIR} -fprofile-update=single)
  target_link_options(vandra_flags INTERFACE -fprofile-generate)
elseif(VANDRA_PROFILE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_custom_command(
    OUTPUT ${profile_place}/made
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${profile_place}/data
    COMMAND ${CMAKE_COMMAND} -S ${CMAKE_SOURCE_DIR} -B ${profile_place}/build -G ${CMAKE_GENERATOR}
            -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE} -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
            -DVANDRA_INSTRUMENT=ON -DVANDRA_TESTS=OFF
    COMMAND ${CMAKE_COMMAND} --build ${profile_place}/build --target vandra
    COMMAND ${CMAKE_SOURCE_DIR}/bench/train.sh ${profile_place}/build/bin/vandra
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${profile_place}/build
    COMMAND ${CMAKE_COMMAND} -E touch ${profile_place}/made
    DEPENDS ${CMAKE_SOURCE_DIR}/bench/train.sh
    COMMENT "Making a profile of the interpreter"
    VERBATIM)
  add_custom_target(vandra_profile DEPENDS ${profile_place}/made)
  # What the training didn't touch is optimised as if there were no profile, instead of for size.
  target_compile_options(vandra_flags INTERFACE -fprofile-use=${profile_place}/data
                                                -fprofile-prefix-path=${CMAKE_BINARY_DIR} -fprofile-partial-training
                                                -Wno-missing-profile -Wno-coverage-mismatch)
  target_link_options(vandra_flags INTERFACE -fprofile-use=${profile_place}/data)
endif()
