#pragma once

// Views of the arguments of a row of operations.def, where each stands once, as
// (kind, type, word).

// type word, ...
#define ORVEX_PARAMETERS(...) ORVEX_EACH_ARGUMENT(ORVEX_PARAMETER, __VA_ARGS__)
// word, ...
#define ORVEX_WORDS(...) ORVEX_EACH_ARGUMENT(ORVEX_WORD, __VA_ARGS__)
// , argument::kind("word", word) for each
#define ORVEX_BEHIND_ARGUMENTS(...) \
    __VA_OPT__(, ) ORVEX_EACH_ARGUMENT(ORVEX_TRACED_ARGUMENT, __VA_ARGS__)

#define ORVEX_PARAMETER(kind, type, word) type word
#define ORVEX_WORD(kind, type, word) word
#define ORVEX_TRACED_ARGUMENT(kind, type, word) bv::argument::kind(#word, word)

// macro(kind, type, word) of all arguments, joined by commas. The deferred name is expanded by the
// next scan; nine arguments are the most.
#define ORVEX_EACH_ARGUMENT(macro, ...) \
    __VA_OPT__(ORVEX_RESCAN(ORVEX_NEXT_ARGUMENT(macro, __VA_ARGS__)))
#define ORVEX_NEXT_ARGUMENT(macro, argument, ...) \
    macro argument __VA_OPT__(, ORVEX_NEXT_AGAIN ORVEX_CALL(macro, __VA_ARGS__))
#define ORVEX_NEXT_AGAIN() ORVEX_NEXT_ARGUMENT
#define ORVEX_CALL ()
#define ORVEX_RESCAN(...) \
    ORVEX_RESCAN_4(ORVEX_RESCAN_4(ORVEX_RESCAN_4(ORVEX_RESCAN_4(__VA_ARGS__))))
#define ORVEX_RESCAN_4(...) ORVEX_RESCAN_2(ORVEX_RESCAN_2(__VA_ARGS__))
#define ORVEX_RESCAN_2(...) ORVEX_RESCAN_1(ORVEX_RESCAN_1(__VA_ARGS__))
#define ORVEX_RESCAN_1(...) __VA_ARGS__
