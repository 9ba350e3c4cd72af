# kestrove_third_party: Asio and msgpack, for the code that is compiled with them.
#
# Their headers leave functions in our objects, and a program with two functions of one name takes
# either. An application may have another version of these libraries, or the same one configured
# otherwise, and a static library brings its objects into the application's own link. So here all
# that they name outside a namespace has a name of ours. Who meets our objects with an io_context in
# the hand, such as the simulator, is compiled in the same way.
add_library(kestrove_third_party INTERFACE)
set(foreign_names asio asio_detail_posix_thread_function asio_handler_alloc_helpers
  asio_handler_cont_helpers asio_handler_invoke_helpers asio_signal_handler msgpack)
foreach(name prefer query require require_concept execution_bulk_execute execution_connect
    execution_execute execution_schedule execution_set_done execution_set_error
    execution_set_value execution_start execution_submit)
  list(APPEND foreign_names asio_${name}_fn)
endforeach()
foreach(name IN LISTS foreign_names)
  target_compile_definitions(kestrove_third_party INTERFACE ${name}=kestrove_${name})
endforeach()
# Asio marks its names as visible, whatever the compiler is asked. It is to allocate by operator new, whose
# handler the service has for when there is no memory.
target_compile_definitions(kestrove_third_party INTERFACE
  MSGPACK_NO_BOOST ASIO_STANDALONE ASIO_DISABLE_VISIBILITY ASIO_DISABLE_STD_ALIGNED_ALLOC)
