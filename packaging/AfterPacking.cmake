# CPack gives every Debian package with a library scripts that call ldconfig. The client library has dpkg's trigger for it,
# and nobody looks for the private libraries: without them.
foreach(file IN LISTS CPACK_PACKAGE_FILES)
  if(file MATCHES "\\.deb$")
    set(folder ${file}.unpacked)
    execute_process(COMMAND dpkg-deb --raw-extract ${file} ${folder} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
    execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${file}
      OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${folder})
  endif()
endforeach()
