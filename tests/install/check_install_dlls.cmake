# Builds a program that loads libfoo from a first folder and libbar from a
# second, where libbar loads another libfoo of its own: one name, two files.
# Then installs the program's libraries with InstallDlls.cmake as a Windows
# install does and checks which files arrive.
#   cmake -DCXX=compiler -DWORK=folder -DSCRIPT=InstallDlls.cmake -P check_install_dlls.cmake
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/first ${WORK}/second)

function(compile)
  execute_process(COMMAND ${CXX} ${ARGN} WORKING_DIRECTORY ${WORK} RESULT_VARIABLE rc)
  if(rc)
    message(FATAL_ERROR "${CXX} ${ARGN}: ${rc}")
  endif()
endfunction()

file(WRITE ${WORK}/foo1.cpp "int foo() { return 1; }\n")
file(WRITE ${WORK}/foo2.cpp "int foo() { return 2; }\n")
file(WRITE ${WORK}/bar.cpp "int foo();\nint bar() { return foo(); }\n")
file(WRITE ${WORK}/main.cpp "int foo();\nint bar();\nint main() { return foo() + bar(); }\n")
compile(-shared -fPIC -Wl,-soname,libfoo.so -o first/libfoo.so foo1.cpp)
compile(-shared -fPIC -Wl,-soname,libfoo.so -o second/libfoo.so foo2.cpp)
compile(-shared -fPIC -Wl,-soname,libbar.so -o second/libbar.so bar.cpp -Lsecond -lfoo
  -Wl,-rpath,${WORK}/second)
# RPATH rather than RUNPATH, so that libbar's own path finds its libfoo.
compile(-o linked main.cpp -Lfirst -lfoo -Lsecond -lbar -Wl,--disable-new-dtags
  -Wl,-rpath,${WORK}/first:${WORK}/second)
compile(-o unlinked main.cpp -Lfirst -lfoo -Lsecond -lbar)

# Installs the libraries of `program` looking in `dirs`; `out` gets what it said.
function(install_dlls prefix program dirs out)
  execute_process(COMMAND ${CMAKE_COMMAND} -DCMAKE_INSTALL_PREFIX=${WORK}/${prefix}
    -DVELMORA_EXECUTABLES=${WORK}/${program} "-DVELMORA_DLL_DIRS=${dirs}" -DVELMORA_BINDIR=bin
    -P ${SCRIPT}
    RESULT_VARIABLE rc OUTPUT_VARIABLE stdout ERROR_VARIABLE stderr)
  if(rc)
    message(FATAL_ERROR "InstallDlls.cmake failed (${rc}):\n${stdout}${stderr}")
  endif()
  set(${out} "${stdout}${stderr}" PARENT_SCOPE)
endfunction()

function(expect_same installed original)
  file(SHA256 ${WORK}/${installed} got)
  file(SHA256 ${WORK}/${original} want)
  if(NOT got STREQUAL want)
    message(SEND_ERROR "${installed} is not ${original}")
  endif()
endfunction()

# The name in two folders: the file from the folder named first wins, both ways round.
install_dlls(a linked "${WORK}/second;${WORK}/first" said)
expect_same(a/bin/libfoo.so second/libfoo.so)
expect_same(a/bin/libbar.so second/libbar.so)
if(NOT said MATCHES "libfoo.so is in more than one folder")
  message(SEND_ERROR "the choice between the two libfoo.so is not said:\n${said}")
endif()
install_dlls(b linked "${WORK}/first;${WORK}/second" said)
expect_same(b/bin/libfoo.so first/libfoo.so)

# Nowhere to find them: named in a warning, nothing half-installed, no failure.
install_dlls(c unlinked "" said)
if(NOT said MATCHES "Not found, so not installed: libbar.so;libfoo.so")
  message(SEND_ERROR "the libraries not found are not named:\n${said}")
endif()
if(EXISTS ${WORK}/c/bin/libfoo.so OR EXISTS ${WORK}/c/bin/libbar.so)
  message(SEND_ERROR "a library not found was installed")
endif()
