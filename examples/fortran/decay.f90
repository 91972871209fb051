! The decay of a substance, measured every 0.8 of its mean lifetimes: the sum of its activities, and of
! those in every second measurement, with the same bits on every machine.
program decay
  use, intrinsic :: iso_fortran_env, only: real64, int64
  use qelvm
  implicit none
  integer, parameter :: n = 1000
  real(real64) :: t(n), activity(n), half(2, n / 2)
  integer :: k, status

  t = [(0.8_real64 * (k - 1), k = 1, n)]
  call qelvm_exp(-t, activity, status)
  if (status /= qelStatusOk) print "(2a)", "exp: ", qelvm_status_text(status)
  half = 0
  call qelvm_exp(-t(2:n:2), half(1, :)) ! sections
  print "(a, f0.15, a, z16.16)", "sum of the activities: ", sum(activity), ", bits ", transfer(sum(activity), 0_int64)
  print "(a, f0.15, a, z16.16)", "every second of them:  ", sum(half), ", bits ", transfer(sum(half), 0_int64)
end program
