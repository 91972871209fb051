! What the generic names do for sections, ranks, scalars, shapes and statuses; and every export.
program fortran_test
  use, intrinsic :: iso_c_binding
  use qelvm
  use every_export
  implicit none
  integer, parameter :: n = 2000
  real(c_double) :: x(n), y(n), wanted(n), cosines(n), cube(2, 3, 4), results(2, 3, 4), scalar
  real(c_float) :: single(n), single_result(n), single_wanted(n)
  integer(c_int32_t) :: status
  integer :: k

  call check_every_export()

  x = [(0.001_c_double * k - 0.5_c_double, k = 1, n)]
  single = real(x, c_float)
  status = qelsExp_64f_A53(x, wanted, n)

  ! Sections: of the source, of the destination, of both; what lies between is left alone.
  y = -7
  call qelvm_exp(x(1:n:4), y(n:2:-4))
  call expect(same_bits(y(n:2:-4), wanted(1:n:4)), "sections")
  call expect(count(y == -7) == n - n / 4, "what lies between the elements of a section")
  call qelvm_exp(x([7, 3, 5]), y(:3))
  call expect(same_bits(y(:3), wanted([7, 3, 5])), "subscripts")

  ! Ranks, expressions, in place.
  cube = reshape(x, shape(cube))
  call qelvm_exp(cube, results)
  call expect(same_bits([results], wanted(:24)), "rank 3")
  call qelvm_exp(cube(:, 2, :), results(:, 2, :))
  call expect(same_bits([results], wanted(:24)), "a plane of rank 3")
  call qelvm_exp(2 * x, y)
  call qelvm_exp((x), x)
  call expect(same_bits(x, wanted), "in place")
  call qelvm_exp(0.25_c_double, scalar, status)
  call expect(status == qelStatusOk .and. abs(scalar - exp(0.25_c_double)) < 1e-15_c_double, "scalars")

  ! A scalar stands for all elements: through several blocks, and with Powx the same as with Pow.
  call qelvm_powx(x, 2.5_c_double, wanted)
  call qelvm_pow(x, 2.5_c_double, y)
  call expect(same_bits(y, wanted), "a scalar second source")
  call qelvm_div([(1.0_c_double, k = 1, n)], x, wanted)
  call qelvm_div(1.0_c_double, x, y)
  call expect(same_bits(y, wanted), "a scalar first source")
  call qelvm_atan2(1.0_c_float, 1.0_c_float, single_result)
  call expect(all(abs(single_result - atan(1.0_c_float)) < 1e-6), "two scalar sources")
  call qelvm_sin(single, single_wanted)
  call qelvm_sincos(single(n:1:-1), single_result(n:1:-1), single(::1))
  call expect(same_bits(single_result, single_wanted), "two destinations")

  ! Statuses: the last reported element's, also of many blocks; optional.
  x = 1
  x(3) = -1
  x(n - 1) = 0
  call qelvm_ln(x, y, status)
  call expect(status == qelStatusSingularity, "the status of the last reported element")
  x(3) = 0
  x(n - 1) = 1
  call qelvm_div(1.0_c_double, x, y, status)
  call expect(status == qelStatusSingularity, "a status of a block, not the last")
  x(n - 1) = -1
  call qelvm_ln(x, y, status)
  call expect(status == qelStatusDomain .and. y(n) == 0, "a domain error")
  call expect(qelvm_status_text(status) == "an argument lay outside the domain", "the text of a status")
  call expect(qelvm_status_text(1_c_int32_t) == "unknown status", "the text of an unknown status")
  call qelvm_ln(x, y)

  ! Shapes that do not fit: an error, and nothing is written. Nothing to do: none.
  y = -7
  call qelvm_exp(x(:5), y(:6), status)
  call expect(status == qelStatusSizeError .and. all(y == -7), "different lengths")
  call qelvm_exp(cube, y(:24), status)
  call expect(status == qelStatusSizeError .and. all(y == -7), "different ranks")
  call qelvm_exp(reshape(cube, [4, 3, 2]), results, status)
  call expect(status == qelStatusSizeError, "different shapes of one size")
  call qelvm_sincos(x, y, cosines(2:), status)
  call expect(status == qelStatusSizeError .and. all(y == -7), "different destinations")
  call qelvm_pow(x, x(2:), y, status)
  call expect(status == qelStatusSizeError .and. all(y == -7), "different sources")
  call qelvm_exp(x, scalar, status)
  call expect(status == qelStatusSizeError, "an array to a scalar")
  call unknown_size(x, y)
  call qelvm_exp(x(1:0), y(1:0), status)
  call expect(status == qelStatusOk .and. all(y == -7), "empty arrays")
  call qelvm_exp(scalar, y(1:0), status)
  call expect(status == qelStatusOk, "a scalar to an empty array")

  call check_version()
  if (failures > 0) error stop "the module for Fortran failed"
  print "(2a)", "every export and generic name, with library ", qelvm_library()

contains

  subroutine unknown_size(source, destination)
    real(c_double), intent(in) :: source(*)
    real(c_double), intent(inout) :: destination(*)
    integer(c_int32_t) :: outcome
    call qelvm_exp(source, y, outcome)
    call expect(outcome == qelStatusSizeError .and. all(y == -7), "a source whose size is not known")
    call qelvm_exp(x, destination, outcome)
    call expect(outcome == qelStatusSizeError .and. all(y == -7), "a destination whose size is not known")
  end subroutine

  subroutine check_version()
    type(QelLibVersion), pointer :: version
    character(kind=c_char), pointer :: text(:)
    call c_f_pointer(qelvmGetLibVersion(), version)
    call c_f_pointer(version%libraryFile, text, [11])
    call expect(all(text == transfer("qelvmpx.dll", text)), "the version record")
    call expect(index(qelvm_library(), "5.") == 1, "the version as text")
  end subroutine

end program
