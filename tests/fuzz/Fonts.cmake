# MakeFonts.py wrote the fonts to start from.
if(TARGET kelvo_assets)
    kelvo_fuzz_target(kelvo_font_fuzz FontFuzz.cpp corpus/font Kelvo::kelvo_assets kelvoGLES20)
endif()
