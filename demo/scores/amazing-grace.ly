% Four verses written out: plain, with passing notes, an octave higher, and
% plain again to close.
\include "common.ily"
\header { title = "Amazing Grace" subtitle = "Four verses" composer = "Traditional (New Britain)" }
global = { \key g \major \time 3/4 }
plain = \fixed c' {
  g2 b8 g |
  b2 a4 |
  g2 e4 |
  d2 d4 | \break
  g2 b8 g |
  b2 a4 |
  d'2. ~ |
  d'2 b4 | \break
  d'4. b8 d' b |
  g2 d4 |
  e4. g8 g e |
  d2 d4 | \break
  g2 b8 g |
  b2 a4 |
  g2. ~ |
}
passing = \fixed c' {
  g2 b8 g |
  b4 c'8 b a4 |
  g4 fis e |
  d2 d4 | \break
  g2 b8 g |
  b4 c'8 b a4 |
  d'2. ~ |
  d'2 b4 | \break
  d'4. b8 d' b |
  g4 a b |
  e4. g8 g e |
  d2 d4 | \break
  g4 a b8 g |
  b4 a8 b a4 |
  g2. ~ |
}
melody = \fixed c' {
  d4 |
  \plain
  g2 d4 | \break
  \passing
  g2 d'4 | \break
  \transpose c c' \plain
  g'2 d4 | \break
  \plain
  g2. \bar "|."
}
\score { { \global \partial 4 \melody } \layout { } }
\score {
  { \global \set Staff.midiInstrument = "flute"
    \partial 2 \tempo 4 = 60 r4 \tempo 4 = 100 \melody }
  \midi { }
}
