# The library behind src/audio/mp4_library.h: libmp4v2 2.x when it is installed, else TagLib 1.x.
#   MP4_LIBRARIES       what to link
#   MP4_UNUSED_SOURCES  sources of the other choice, relative to src/
#   MP4_THROWING_SOURCE the source that needs exceptions and run-time types, relative to src/
include(CheckCXXSourceCompiles)

find_path(MP4V2_INCLUDE_DIR mp4v2/mp4v2.h)
find_library(MP4V2_LIBRARY mp4v2)
set(MP4_LIBRARIES "")
set(MP4_UNUSED_SOURCES "")
set(MP4_THROWING_SOURCE "")

if(MP4V2_INCLUDE_DIR AND MP4V2_LIBRARY)
    # Releases before 2.0 have neither the tags structure nor the log level.
    set(CMAKE_REQUIRED_INCLUDES ${MP4V2_INCLUDE_DIR})
    set(CMAKE_REQUIRED_LIBRARIES ${MP4V2_LIBRARY})
    check_cxx_source_compiles("
        #include <mp4v2/mp4v2.h>
        int main()
        {
            MP4LogSetLevel(MP4_LOG_NONE);
            const MP4Tags *tags = MP4TagsAlloc();
            MP4TagsFree(tags);
        }" MP4V2_HAS_TAGS)
    unset(CMAKE_REQUIRED_INCLUDES)
    unset(CMAKE_REQUIRED_LIBRARIES)
endif()

if(MP4V2_HAS_TAGS)
    message(STATUS "MP4 files: libmp4v2 (${MP4V2_LIBRARY})")
    add_library(mp4_backend INTERFACE)
    target_include_directories(mp4_backend SYSTEM INTERFACE ${MP4V2_INCLUDE_DIR})
    target_link_libraries(mp4_backend INTERFACE ${MP4V2_LIBRARY})
    set(MP4_LIBRARIES mp4_backend)
    set(MP4_UNUSED_SOURCES audio/mp4_library_taglib.cc audio/mp4_facts.cc)
else()
    message(STATUS "MP4 files: TagLib")
    pkg_check_modules(TAGLIB REQUIRED IMPORTED_TARGET taglib<2)
    set(MP4_LIBRARIES PkgConfig::TAGLIB)
    set(MP4_UNUSED_SOURCES audio/mp4_library_mp4v2.cc)
    set(MP4_THROWING_SOURCE audio/mp4_facts.cc)
endif()
