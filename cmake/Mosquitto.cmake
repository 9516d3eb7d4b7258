# libmosquitto, the MQTT client library, as the one target Velmora::mosquitto
# that everything links.
#
# On Windows vcpkg's port comes first. It installs the CMake package
# unofficial-mosquitto, whose target unofficial::mosquitto::mosquitto is the C
# library (its ...::mosquittopp is the C++ wrapper, not used here) and carries
# its DLL and, with a static triplet, LIBMOSQUITTO_STATIC. Older ports had only
# a find module for find_package(mosquitto); they, MSYS2 and any other install
# with mosquitto.h and the library under CMAKE_PREFIX_PATH are found by name
# (or set VELMORA_MOSQUITTO_INCLUDE_DIR and VELMORA_MOSQUITTO_LIBRARY). Elsewhere,
# and last on Windows, pkg-config's libmosquitto.
#
# VELMORA_MOSQUITTO_DLL_DIRS: where a Windows install looks for its DLL and the
# DLLs that one loads (OpenSSL's, pthreads'), which vcpkg keeps in one folder.
add_library(Velmora::mosquitto INTERFACE IMPORTED)
set(VELMORA_MOSQUITTO_DLL_DIRS)
set(velmora_mosquitto_found "")

if(WIN32)
  find_package(unofficial-mosquitto CONFIG QUIET)
  if(TARGET unofficial::mosquitto::mosquitto)
    target_link_libraries(Velmora::mosquitto INTERFACE unofficial::mosquitto::mosquitto)
    set(VELMORA_MOSQUITTO_DLL_DIRS "$<TARGET_FILE_DIR:unofficial::mosquitto::mosquitto>")
    set(velmora_mosquitto_found "vcpkg's unofficial-mosquitto package")
  else()
    find_path(VELMORA_MOSQUITTO_INCLUDE_DIR mosquitto.h)
    find_library(VELMORA_MOSQUITTO_LIBRARY NAMES mosquitto libmosquitto NAMES_PER_DIR)
    if(VELMORA_MOSQUITTO_INCLUDE_DIR AND VELMORA_MOSQUITTO_LIBRARY)
      target_include_directories(Velmora::mosquitto INTERFACE ${VELMORA_MOSQUITTO_INCLUDE_DIR})
      target_link_libraries(Velmora::mosquitto INTERFACE ${VELMORA_MOSQUITTO_LIBRARY})
      # The import library is in lib/, its DLL in bin/.
      get_filename_component(velmora_dir ${VELMORA_MOSQUITTO_LIBRARY} DIRECTORY)
      list(APPEND VELMORA_MOSQUITTO_DLL_DIRS ${velmora_dir}/../bin ${velmora_dir})
      set(velmora_mosquitto_found "${VELMORA_MOSQUITTO_LIBRARY}")
    endif()
  endif()
endif()

if(NOT velmora_mosquitto_found)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(MOSQUITTO REQUIRED IMPORTED_TARGET libmosquitto)
  target_link_libraries(Velmora::mosquitto INTERFACE PkgConfig::MOSQUITTO)
  if(WIN32)
    foreach(velmora_dir IN LISTS MOSQUITTO_LIBRARY_DIRS)
      list(APPEND VELMORA_MOSQUITTO_DLL_DIRS ${velmora_dir}/../bin ${velmora_dir})
    endforeach()
    set(velmora_mosquitto_found "pkg-config's libmosquitto")
  endif()
endif()

if(WIN32)
  message(STATUS "libmosquitto: ${velmora_mosquitto_found}")
endif()
