kelvo_fuzz_target(kelvo_scene_fuzz SceneFuzz.cpp corpus/scene kelvo)
