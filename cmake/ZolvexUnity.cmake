# ZOLVEX_UNITY: the files of a test program, and of the lab, are compiled up to eight at a time. Most of what one of them
# costs is the headers that all include, so eight take hardly longer than two of them alone. A change then compiles its
# neighbours, too, and a missing include can hide behind theirs; the default compiles each file alone.
option(ZOLVEX_UNITY "Compile the files of tests and lab several at a time" OFF)

# zolvex_use_unity(TARGET): names in the anonymous namespaces of its files must differ.
function(zolvex_use_unity target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${ZOLVEX_UNITY} UNITY_BUILD_BATCH_SIZE 8)
endfunction()
