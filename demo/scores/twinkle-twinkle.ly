\include "common.ily"
\header { title = "Twinkle, Twinkle, Little Star" composer = "Traditional" }
global = { \key c \major \time 4/4 }
verse = \fixed c' {
  c4 c g g |
  a a g2 |
  f4 f e e |
  d d c2 | \break
  g4 g f f |
  e e d2 |
  g4 g f f |
  e e d2 | \break
  c4 c g g |
  a a g2 |
  f4 f e e |
  d d c2 | \break
}
melody = { \verse \verse \bar "|." }
\score { { \global \melody } \layout { } }
\score {
  { \global \set Staff.midiInstrument = "celesta"
    \partial 4 \tempo 4 = 60 r4 \tempo 4 = 100 \melody }
  \midi { }
}
