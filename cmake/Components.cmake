# Components of an installation: runtime (what the product is), client and client-dev (what a client links), devtools.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME runtime)

# orvanedga_install_if_built(<target> <summary>): a program that nobody has to build; an installation says that it is
# left out. The summary is for its man page.
function(orvanedga_install_if_built target summary)
  set_target_properties(${target} PROPERTIES ORVANEDGA_SUMMARY ${summary})
  set_property(GLOBAL APPEND PROPERTY ORVANEDGA_DEVTOOLS ${target})
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} OPTIONAL)
  install(CODE "if(NOT EXISTS \"$<TARGET_FILE:${target}>\")
    message(STATUS \"Left out, as it is not built: ${target} (cmake --build ${CMAKE_BINARY_DIR} --target ${target})\")
  endif()" COMPONENT ${CMAKE_INSTALL_DEFAULT_COMPONENT_NAME})
endfunction()

install(CODE "if(NOT EXISTS \"${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/orvanedga\")
  message(FATAL_ERROR \"The assistant is not built yet: cmake --build ${CMAKE_BINARY_DIR}\")
endif()")
