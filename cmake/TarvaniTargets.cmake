# How every target of the project is compiled, and how the layers become libraries.

# Flags of our own code. Users of the library get none of them.
add_library(tarvani_flags INTERFACE)
target_compile_features(tarvani_flags INTERFACE cxx_std_20)
target_compile_options(tarvani_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                       $<$<BOOL:${TARVANI_WERROR}>:-Werror>)
target_include_directories(tarvani_flags INTERFACE "${PROJECT_SOURCE_DIR}/src")

# tarvani_layer(NAME KNOWS layer... SOURCES file...)
# One folder of src/ as objects: the library is made of all of them. Beside it stands the static library tarvani_layer_NAME, which
# links the layers that this one knows and no others: the tests of a folder link that, so that they reach private classes, and so
# that a layer which calls upwards does not link.
function(tarvani_layer name)
    cmake_parse_arguments(arg "" "" "KNOWS;SOURCES" ${ARGN})
    add_library(tarvani_objects_${name} OBJECT ${arg_SOURCES})
    target_link_libraries(tarvani_objects_${name} PRIVATE $<BUILD_INTERFACE:tarvani_flags>)
    # Nobody is meant to put another function in the place of one of the library's, so calls within it go straight.
    target_compile_options(tarvani_objects_${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
    set_target_properties(tarvani_objects_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_EXTENSIONS OFF
                          CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    add_library(tarvani_layer_${name} STATIC EXCLUDE_FROM_ALL $<TARGET_OBJECTS:tarvani_objects_${name}>)
    # stream, indexfile, plugin and pathfile go round in a circle; a linker that reads archives once must come by three times.
    set_target_properties(tarvani_layer_${name} PROPERTIES LINKER_LANGUAGE CXX LINK_INTERFACE_MULTIPLICITY 3)
    foreach(known ${arg_KNOWS})
        target_link_libraries(tarvani_layer_${name} PUBLIC tarvani_layer_${known})
    endforeach()
    set_property(GLOBAL APPEND PROPERTY tarvani_layers ${name})
endfunction()

# tarvani_test(NAME LAYERS layer... SOURCES file... [LIBRARY])
# One GoogleTest program. With LIBRARY it links the library itself, as a user would, instead of layers.
function(tarvani_test name)
    cmake_parse_arguments(arg "LIBRARY" "" "LAYERS;SOURCES" ${ARGN})
    add_executable(test_${name} ${arg_SOURCES})
    target_link_libraries(test_${name} PRIVATE tarvani_flags tarvani_test_support GTest::gmock GTest::gtest_main)
    if(arg_LIBRARY)
        target_link_libraries(test_${name} PRIVATE Tarvani::tarvani)
    endif()
    foreach(layer ${arg_LAYERS})
        target_link_libraries(test_${name} PRIVATE tarvani_layer_${layer})
    endforeach()
    gtest_discover_tests(test_${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
