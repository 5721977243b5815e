#pragma once

/**
 * Turns the parameter lists of EntryPoints.def, (type, name, kind) triples, into C.
 *
 * KELVO_PARAMETERS gives `type name, ...`, KELVO_TYPES `type, ...`, KELVO_NAMES `name, ...`;
 * KELVO_EACH(macro, ...) applies any other macro to each triple and puts commas between the results.
 */
#define KELVO_PICK(a, b, c, d, e, f, g, h, i, chosen, ...) chosen
#define KELVO_EACH_1(m, a) m a
#define KELVO_EACH_2(m, a, ...) m a, KELVO_EACH_1(m, __VA_ARGS__)
#define KELVO_EACH_3(m, a, ...) m a, KELVO_EACH_2(m, __VA_ARGS__)
#define KELVO_EACH_4(m, a, ...) m a, KELVO_EACH_3(m, __VA_ARGS__)
#define KELVO_EACH_5(m, a, ...) m a, KELVO_EACH_4(m, __VA_ARGS__)
#define KELVO_EACH_6(m, a, ...) m a, KELVO_EACH_5(m, __VA_ARGS__)
#define KELVO_EACH_7(m, a, ...) m a, KELVO_EACH_6(m, __VA_ARGS__)
#define KELVO_EACH_8(m, a, ...) m a, KELVO_EACH_7(m, __VA_ARGS__)
#define KELVO_EACH_9(m, a, ...) m a, KELVO_EACH_8(m, __VA_ARGS__)
#define KELVO_EACH(m, ...)                                                                                   \
    KELVO_PICK(__VA_ARGS__, KELVO_EACH_9, KELVO_EACH_8, KELVO_EACH_7, KELVO_EACH_6, KELVO_EACH_5,            \
               KELVO_EACH_4, KELVO_EACH_3, KELVO_EACH_2, KELVO_EACH_1, )                                     \
    (m, __VA_ARGS__)

#define KELVO_PARAMETER(type, name, kind) type name
#define KELVO_TYPE(type, name, kind) type
#define KELVO_NAME(type, name, kind) name
#define KELVO_PARAMETERS(...) KELVO_EACH(KELVO_PARAMETER, __VA_ARGS__)
#define KELVO_TYPES(...) KELVO_EACH(KELVO_TYPE, __VA_ARGS__)
#define KELVO_NAMES(...) KELVO_EACH(KELVO_NAME, __VA_ARGS__)
