if(TARGET kelvo_assets)
    kelvo_fuzz_target(kelvo_scene_json_fuzz SceneJsonFuzz.cpp corpus/scene-json Kelvo::kelvo_assets kelvoGLES20)
    target_compile_definitions(kelvo_scene_json_fuzz PRIVATE
        KELVO_FUZZ_PICTURES="${CMAKE_SOURCE_DIR}/examples/showcase/")
endif()
