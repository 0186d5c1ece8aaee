# Writes customvrx.pc with full directories. Run at install time (from cmake/install.cmake)
# or as a script: cmake -DVRX_PC_PREFIX=/usr -DVRX_PC_LIBDIR=lib/x86_64-linux-gnu ... -P write_pkgconfig.cmake
# In:  VRX_PC_PREFIX, VRX_PC_LIBDIR and VRX_PC_INCLUDEDIR (relative to the prefix or absolute),
#      VRX_PC_VERSION, VRX_PC_ARCH (the multiarch name, e.g. x86_64-linux-gnu, or empty),
#      VRX_PC_DESTDIR (staging root, may be empty).
# Out: VRX_PC_FILE, the file written.
cmake_policy(VERSION 3.20)

# The same rule as GNUInstallDirs' CMAKE_INSTALL_FULL_<dir>, applied to the prefix of this install.
function(vrx_pc_full_dir dir out)
  if(IS_ABSOLUTE "${dir}")
    set(full "${dir}")
  else()
    set(full "${VRX_PC_PREFIX}/${dir}")
  endif()
  cmake_path(ABSOLUTE_PATH full NORMALIZE)
  string(REGEX REPLACE "(.)/$" "\\1" full "${full}")
  set(${out} "${full}" PARENT_SCOPE)
endfunction()

vrx_pc_full_dir("" VRX_PC_FULL_PREFIX)
vrx_pc_full_dir("${VRX_PC_LIBDIR}" VRX_PC_FULL_LIBDIR)
vrx_pc_full_dir("${VRX_PC_INCLUDEDIR}" VRX_PC_FULL_INCLUDEDIR)

# An rpath only where the dynamic loader would not look by itself.
set(VRX_PC_LOADER_DIRS /lib /usr/lib /lib64 /usr/lib64)
if(VRX_PC_ARCH)
  list(APPEND VRX_PC_LOADER_DIRS /lib/${VRX_PC_ARCH} /usr/lib/${VRX_PC_ARCH})
endif()
set(VRX_PC_RPATH "")
if(NOT VRX_PC_FULL_LIBDIR IN_LIST VRX_PC_LOADER_DIRS)
  set(VRX_PC_RPATH "-Wl,-rpath,\${libdir} ")
endif()

set(VRX_PC_FILE "${VRX_PC_DESTDIR}${VRX_PC_FULL_LIBDIR}/pkgconfig/customvrx.pc")
message(STATUS "Installing: ${VRX_PC_FILE}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/customvrx.pc.in" "${VRX_PC_FILE}" @ONLY)
