/* Started by scripts/test.sh under Wine to learn whether this host runs 32-bit Windows
   programs: built for i686, it answers 32 when it runs. */
int main(void)
{
    return sizeof(void*) == 4 ? 32 : 1;
}
