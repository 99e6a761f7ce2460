# kandora_version_info(FILE TYPE DESCRIPTION): into KANDORA_VERSION_INFO, for a resource file that is configured afterwards, what
# Windows shows of a program: its version, what it is and whose. TYPE is APP or DLL.
set_property(DIRECTORY "${CMAKE_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    "${CMAKE_SOURCE_DIR}/LICENSE" "${CMAKE_CURRENT_LIST_DIR}/Version.rc.in")
function(kandora_version_info file type description)
    cmake_path(GET file STEM name)
    file(STRINGS "${CMAKE_SOURCE_DIR}/LICENSE" copyright REGEX "^Copyright ")
    file(READ "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/Version.rc.in" text)
    string(CONFIGURE "${text}" text @ONLY)
    set(KANDORA_VERSION_INFO "${text}" PARENT_SCOPE)
endfunction()
