# Run by `cmake --install` on Windows (cmake/WindowsInstall.cmake sets the
# variables): copies into the install's bin folder every DLL the programs
# load, found through their import tables and those of the DLLs found in
# turn, less Windows' own.
#   VELMORA_EXECUTABLES  the built programs
#   VELMORA_DLL_DIRS     where to look after a file's own folder and Windows'
#   VELMORA_BINDIR       the install's bin folder, under the prefix
file(GET_RUNTIME_DEPENDENCIES
  EXECUTABLES ${VELMORA_EXECUTABLES}
  DIRECTORIES ${VELMORA_DLL_DIRS}
  # API sets are names, not files; names come lower-cased.
  PRE_EXCLUDE_REGEXES "^api-ms-" "^ext-ms-"
  POST_EXCLUDE_REGEXES "^[A-Za-z]:[/\\\\][Ww][Ii][Nn][Dd][Oo][Ww][Ss][/\\\\]"
  RESOLVED_DEPENDENCIES_VAR velmora_dlls
  UNRESOLVED_DEPENDENCIES_VAR velmora_missing
  CONFLICTING_DEPENDENCIES_PREFIX velmora_conflict)

# One name found as different files (MinGW's runtime in Qt's folder and in the
# compiler's): the one from the folder that comes first in VELMORA_DLL_DIRS.
set(velmora_dirs)
foreach(dir IN LISTS VELMORA_DLL_DIRS)
  get_filename_component(dir "${dir}" ABSOLUTE)
  string(TOLOWER "${dir}" dir)
  list(APPEND velmora_dirs "${dir}")
endforeach()
foreach(name IN LISTS velmora_conflict_FILENAMES)
  list(GET velmora_conflict_${name} 0 chosen)
  set(chosen_at 1000000)
  foreach(path IN LISTS velmora_conflict_${name})
    get_filename_component(dir "${path}" DIRECTORY)
    string(TOLOWER "${dir}" dir)
    list(FIND velmora_dirs "${dir}" at)
    if(at GREATER -1 AND at LESS chosen_at)
      set(chosen "${path}")
      set(chosen_at ${at})
    endif()
  endforeach()
  message(STATUS "${name} is in more than one folder (${velmora_conflict_${name}}): "
    "using ${chosen}")
  list(APPEND velmora_dlls "${chosen}")
endforeach()

if(velmora_missing)
  message(WARNING "Not found, so not installed: ${velmora_missing}. "
    "Name their folders in VELMORA_DLL_DIRS and install again.")
endif()
if(velmora_dlls)
  file(INSTALL ${velmora_dlls} DESTINATION "${CMAKE_INSTALL_PREFIX}/${VELMORA_BINDIR}"
    TYPE SHARED_LIBRARY)
endif()
