# The Windows install: the three programs in bin/, every DLL they load beside
# them and Qt's plugins in plugins/, so that the folder, and the ZIP or the
# installer CPack makes of it, runs where neither Qt, vcpkg nor a compiler is.
# bin/ rather than the root, as Qt's deploy script expects it and the NSIS
# installer's shortcuts look there.
install(TARGETS velmora velmora-cli velmora-sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# The DLLs: cmake/InstallDlls.cmake reads the programs' import tables at
# install time, then those of the DLLs found, and so on. That reaches what
# $<TARGET_RUNTIME_DLLS> can't, the DLLs libmosquitto itself loads (OpenSSL's,
# pthreads'), which no target here names; and unlike vcpkg's copying into the
# build tree it works for either compiler with or without vcpkg. It looks in
# the program's own folder and Windows' first, then in Qt's DLL folder,
# libmosquitto's, VELMORA_DLL_DIRS and, with MinGW, the compiler's (its C++
# runtime), in that order.
set(VELMORA_DLL_DIRS "" CACHE STRING
  "More folders to look in for the DLLs the programs load, when installing on Windows")
string(REPLACE "\\" "/" velmora_dll_dirs "${VELMORA_DLL_DIRS}")
set(velmora_dll_dirs $<TARGET_FILE_DIR:Qt6::Core> ${VELMORA_MOSQUITTO_DLL_DIRS} ${velmora_dll_dirs})
if(MINGW)
  get_filename_component(velmora_dir ${CMAKE_CXX_COMPILER} DIRECTORY)
  list(APPEND velmora_dll_dirs ${velmora_dir})
endif()
set(velmora_programs $<TARGET_FILE:velmora> $<TARGET_FILE:velmora-cli> $<TARGET_FILE:velmora-sim>)
install(CODE "
  set(VELMORA_EXECUTABLES [[${velmora_programs}]])
  set(VELMORA_DLL_DIRS [[${velmora_dll_dirs}]])
  set(VELMORA_BINDIR [[${CMAKE_INSTALL_BINDIR}]])")
install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/InstallDlls.cmake)

# Qt's plugins (platforms/qwindows.dll, the multimedia backend, TLS, styles,
# image formats), the Qt DLLs they need and bin/qt.conf, which points Qt at
# them: windeployqt, run by the deploy script Qt generates. velmora links every
# Qt module the other two programs do, so deploying it serves all three. Qt 6.4,
# the least this build takes, has qt_generate_deploy_app_script (since 6.3);
# it finds windeployqt among Qt's tools. With a static Qt there is nothing to
# deploy, and the script says so.
set(velmora_deploy_options NO_UNSUPPORTED_PLATFORM_ERROR)
if(Qt6_VERSION VERSION_LESS 6.5)
  set(velmora_deploy_script_keyword FILENAME_VARIABLE)
else()
  set(velmora_deploy_script_keyword OUTPUT_SCRIPT)
  if(MSVC)
    # The C++ runtime's DLLs come below; windeployqt would add Microsoft's
    # redistributable installer instead.
    list(APPEND velmora_deploy_options NO_COMPILER_RUNTIME)
  endif()
endif()
qt_generate_deploy_app_script(TARGET velmora
  ${velmora_deploy_script_keyword} velmora_deploy_script ${velmora_deploy_options})
install(SCRIPT ${velmora_deploy_script})

if(MSVC)
  # msvcp140.dll, vcruntime140.dll and the rest beside the programs, so that no
  # redistributable needs installing first.
  set(CMAKE_INSTALL_SYSTEM_RUNTIME_DESTINATION ${CMAKE_INSTALL_BINDIR})
  include(InstallRequiredSystemLibraries)
endif()
