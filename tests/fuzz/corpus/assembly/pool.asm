quillo-assembly 1
file module xdr
pool {
  slot 1 "$b" at 3
  slot 1 "$a" at 0
  capacity 11264
  texts "$a\x00$b\x00\xff"
}
