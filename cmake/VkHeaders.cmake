# Each library exports only its own folder's headers. The include folder it gives is one of the
# build tree holding a single link named after the source folder (build/headers/vkorg/org ->
# org/), so that "org/UserList.h" is found only by targets that link vkorg: a folder that uses
# another's headers has to say so in its target's link line.
#   vk_headers(TARGET PUBLIC|PRIVATE FOLDER)   FOLDER relative to the source tree, e.g. org
#                                              or tests/support
function(vk_headers target scope folder)
  set(root ${PROJECT_BINARY_DIR}/headers/${target})
  get_filename_component(parent ${root}/${folder} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${folder} ${root}/${folder} SYMBOLIC)
  target_include_directories(${target} ${scope} $<BUILD_INTERFACE:${root}>)
endfunction()
