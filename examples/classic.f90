! The classic interface from Fortran: reads diet.mps into a work area, solves it, finds the answer by its positions.
! Build: gfortran classic.f90 $(pkg-config --libs tavstoch) -o classic; run it where diet.mps is.
program classic
  implicit none
  integer, parameter :: length = 20000, unit = 20
  double precision :: dspace(length), reals(45)
  integer :: rtcod, integers(71), positions(69), j
  character, parameter :: nul = char(0)
  external :: qrtmset, qrtdsca, qrtfopn, qrtfcls, qrtmps, qrtsslv, qrtiget, qrtrget, qrtnget, qrtinit

  dspace = 0
  call qrtmset(rtcod, dspace, 1, 0, -1, 0, 0, 2999, 0)        ! no news
  call qrtdsca(rtcod, dspace, length, 1)
  if (rtcod /= 0) stop 1
  call qrtfopn(unit, 'diet.mps'//nul, 'OLD'//nul, 'SEQUENTIAL'//nul, 'FORMATTED'//nul, 'NULL'//nul, 0, rtcod)
  if (rtcod /= 0) stop 1
  call qrtmps(rtcod, dspace, unit, 2, 0)
  if (rtcod /= 0) stop 1
  call qrtfcls(unit, ''//nul, rtcod)
  call qrtsslv(rtcod, dspace, 0, 1)
  if (rtcod /= 0) stop 1

  call qrtiget(rtcod, dspace, integers, 71)
  call qrtrget(rtcod, dspace, reals, 45)
  call qrtnget(rtcod, dspace, positions, 69)
  do j = 0, integers(28) - 1
    print '(f8.4)', dspace(positions(7) + j)
  end do
  print '(a, f8.4)', 'cost', reals(18)
  call qrtinit(rtcod, dspace)
end program classic
! prints: cost 17.1429
